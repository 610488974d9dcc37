#pragma once

#include "platform/base/Export.h"

#include <string>
#include <string_view>

namespace lmx60 {

/// Text of a document as shown in an error: in quotes, cut when long, without what would upset a terminal.
KP_EXPORT std::string quoted(std::string_view text);

}  // namespace lmx60
