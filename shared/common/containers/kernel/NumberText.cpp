#include "containers/kernel/NumberText.h"

#include <array>
#include <charconv>
#include <cinttypes>
#include <cstdio>

namespace kfab::kernel {

std::optional<std::uint64_t> numberOf(std::string_view text) {
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (isHexadecimal)
        text.remove_prefix(2);
    else if (text.starts_with('0') && text.size() > 1)
        return {};
    std::uint64_t value = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, isHexadecimal ? 16 : 10);
    if (error != std::errc() || end != text.data() + text.size()) return {};
    return value;
}

std::string hexadecimal(std::uint64_t number) {
    std::array<char, 2 + 16 + 1> text{};
    (void)std::snprintf(text.data(), text.size(), "0x%" PRIX64, number);
    return text.data();
}

}  // namespace kfab::kernel
