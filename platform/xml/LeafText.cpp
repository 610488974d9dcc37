#include "platform/xml/LeafText.h"

#include "platform/base/HI18N.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace lmx60 {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Removes the digits at the front; false when there are none.
bool skipDigits(std::string_view& text) {
    const auto* rest = std::find_if_not(text.begin(), text.end(), isDigit);
    const bool any = rest != text.begin();
    text.remove_prefix(static_cast<std::size_t>(rest - text.begin()));
    return any;
}

bool skipSign(std::string_view& text) {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    return negative;
}

bool isFloatLiteral(std::string_view text) {
    skipSign(text);
    bool mantissa = skipDigits(text);
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        mantissa = skipDigits(text) || mantissa;
    }
    if (!mantissa) return false;
    if (text.starts_with('e') || text.starts_with('E')) {
        text.remove_prefix(1);
        skipSign(text);
        if (!skipDigits(text)) return false;
    }
    return text.empty();
}

/// strtof with "." as the decimal point whatever the locale; it saturates to infinity and zero as wanted.
float convertLiteral(const std::string& literal) {
    static const locale_t plainLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtof_l(literal.c_str(), nullptr, plainLocale);
}

}  // namespace

std::string_view collapsed(std::string_view text) {
    while (!text.empty() && isBlankCharacter(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlankCharacter(text.back()))
        text.remove_suffix(1);
    return text;
}

ErrorKind LeafText<std::string>::parse(std::string_view text, std::string& value) {
    value = text;
    return ErrorKind::None;
}

void LeafText<std::string>::append(const std::string& value, std::string& out) {
    out += value;
}

ErrorKind LeafText<std::wstring>::parse(std::string_view text, std::wstring& value) {
    value = HI18N::convert(text);
    return ErrorKind::None;
}

void LeafText<std::wstring>::append(const std::wstring& value, std::string& out) {
    out += HI18N::convert(value);
}

ErrorKind LeafText<std::uint32_t>::parse(std::string_view text, std::uint32_t& value) {
    std::string_view magnitude = collapsed(text);
    const bool negative = skipSign(magnitude);
    std::string_view rest = magnitude;
    if (!skipDigits(rest) || !rest.empty()) return ErrorKind::Lexical;

    std::uint32_t parsed = 0;
    const auto result = std::from_chars(magnitude.data(), magnitude.data() + magnitude.size(), parsed);
    const bool tooLarge = result.ec == std::errc::result_out_of_range;
    if (negative && (tooLarge || parsed != 0)) return ErrorKind::BelowMinimum;
    if (tooLarge) return ErrorKind::AboveMaximum;
    value = parsed;
    return ErrorKind::None;
}

void LeafText<std::uint32_t>::append(std::uint32_t value, std::string& out) {
    out += std::to_string(value);
}

ErrorKind LeafText<float>::parse(std::string_view text, float& value) {
    const std::string literal(collapsed(text));
    if (literal == "NaN") {
        value = std::numeric_limits<float>::quiet_NaN();
    } else if (literal == "INF") {
        value = std::numeric_limits<float>::infinity();
    } else if (literal == "-INF") {
        value = -std::numeric_limits<float>::infinity();
    } else if (isFloatLiteral(literal)) {
        value = convertLiteral(literal);
    } else {
        return ErrorKind::Lexical;
    }
    return ErrorKind::None;
}

void LeafText<float>::append(float value, std::string& out) {
    if (std::isnan(value)) {
        out += "NaN";
    } else if (std::isinf(value)) {
        out += std::signbit(value) ? "-INF" : "INF";
    } else {
        std::array<char, 32> shortest{};
        const auto result = std::to_chars(shortest.data(), shortest.data() + shortest.size(), value);
        out.append(shortest.data(), result.ptr);
    }
}

}  // namespace lmx60
