#include "containers/kernel/NumberText.h"

#include <charconv>

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

}  // namespace kfab::kernel
