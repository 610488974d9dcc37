#pragma once

#include "platform/base/Export.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kfab::kernel {

/// The number that a text of a description stands for: decimal, or hexadecimal behind 0x. None for what is no
/// such number of 64 bits, and for one that could be octal.
KP_EXPORT std::optional<std::uint64_t> numberOf(std::string_view text);

/// A number as descriptions have addresses and sizes: "0x1C".
KP_EXPORT std::string hexadecimal(std::uint64_t number);

}  // namespace kfab::kernel
