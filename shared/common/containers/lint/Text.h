#pragma once

#include "containers/kernel/NumberText.h"

#include <string>
#include <string_view>

namespace kfab::lint {

/// A text of a document in quotes, cut when long, fit for a terminal.
std::string quote(std::string_view text);

using kernel::hexadecimal;

}  // namespace kfab::lint
