#pragma once

#include <string>
#include <string_view>

namespace kfab::ip {

/// Text of a document in quotes, fit for a message: cut when long, without what would upset a terminal.
std::string quoted(std::string_view text);

}  // namespace kfab::ip
