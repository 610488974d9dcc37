#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kfab::lint {

/// A text of a document in quotes, cut when long, fit for a terminal.
std::string quote(std::string_view text);
/// As "0x10".
std::string hexadecimal(std::uint64_t number);

}  // namespace kfab::lint
