#pragma once

#include "platform/base/Export.h"

#include <iosfwd>
#include <string>

namespace lmx60 {

/// The bytes of a file or of the rest of a stream; of what is larger than a document may be, as many as show
/// that. Throws ReadError of kind Unreadable.
/// @{
KP_EXPORT std::string readBytes(const std::string& path);
KP_EXPORT std::string readBytes(std::istream& stream);
/// @}

}  // namespace lmx60
