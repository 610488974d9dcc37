#pragma once

#include "platform/base/Export.h"

#include <string>

namespace lmx60 {

/// The bytes of a file; throws ReadError of kind Unreadable.
KP_EXPORT std::string readBytes(const std::string& path);

}  // namespace lmx60
