#include "containers/lint/Text.h"

#include "platform/files/HUTPathUtils.h"

#include <array>
#include <charconv>
#include <cstddef>

namespace kfab::lint {

std::string quote(std::string_view text) {
    constexpr std::size_t longest = 80;
    return HUTPathUtils::quoted(text, longest);
}

std::string hexadecimal(std::uint64_t number) {
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    std::string text = "0x";
    for (const char* digit = digits.data(); digit != end; ++digit)
        text += *digit >= 'a' ? static_cast<char>(*digit - 'a' + 'A') : *digit;
    return text;
}

}  // namespace kfab::lint
