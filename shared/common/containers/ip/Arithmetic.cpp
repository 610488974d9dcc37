#include "containers/ip/Arithmetic.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <string>
#include <system_error>
#include <utility>

namespace kfab::ip {
namespace {

constexpr Wide smallest = std::numeric_limits<std::int64_t>::min();
constexpr Wide largest = std::numeric_limits<std::uint64_t>::max();

Step number(Wide value) {
    if (value < smallest || value > largest) return {{}, "it does not fit into 64 bits"};
    return {value, {}};
}

Step multiply(Wide a, Wide b) {
    Wide product = 0;
    return number(__builtin_mul_overflow(a, b, &product) ? largest + 1 : product);
}

Step divide(Wide a, Wide b) {
    return b == 0 ? Step{{}, "division by zero"} : number(a / b);
}

Step divideExactly(Wide a, Wide b) {
    if (b != 0 && a % b != 0) return {{}, "the quotient is no integer"};
    return divide(a, b);
}

Step remainder(Wide a, Wide b) {
    return b == 0 ? Step{{}, "division by zero"} : number(a % b);
}

Step shiftLeft(Wide a, Wide count) {
    if (count < 0) return {{}, "the shift is negative"};
    return a == 0 ? number(0) : multiply(a, Wide{1} << std::min<Wide>(count, 64));
}

Step shiftRight(Wide a, Wide count) {
    if (a < 0 || count < 0) return {{}, "the shift is of or by a negative number"};
    return number(a >> std::min<Wide>(count, 64));
}

constexpr unsigned InOperators = 1U << static_cast<unsigned>(Notation::Operators);
constexpr unsigned InPaths = 1U << static_cast<unsigned>(Notation::Path);
constexpr unsigned InBoth = InOperators | InPaths;

constexpr int orPrecedence = 1, andPrecedence = 2;

Step either(Wide a, Wide b) {
    return number(a != 0 || b != 0);
}
Step both(Wide a, Wide b) {
    return number(a != 0 && b != 0);
}
Step same(Wide a, Wide b) {
    return number(a == b);
}

/// Of tokens that begin alike the longest stands first.
constexpr BinaryOperator binaryOperators[] = {
    {"||", InOperators, orPrecedence, either},
    {"or", InPaths, orPrecedence, either},
    {"&&", InOperators, andPrecedence, both},
    {"and", InPaths, andPrecedence, both},
    {"|", InOperators, 3, [](Wide a, Wide b) { return number(a | b); }},
    {"^", InOperators, 4, [](Wide a, Wide b) { return number(a ^ b); }},
    {"&", InOperators, 5, [](Wide a, Wide b) { return number(a & b); }},
    {"==", InOperators, 6, same},
    {"=", InPaths, 6, same},
    {"!=", InBoth, 6, [](Wide a, Wide b) { return number(a != b); }},
    {"<<", InOperators, 8, shiftLeft},
    {">>", InOperators, 8, shiftRight},
    {"<=", InBoth, 7, [](Wide a, Wide b) { return number(a <= b); }},
    {">=", InBoth, 7, [](Wide a, Wide b) { return number(a >= b); }},
    {"<", InBoth, 7, [](Wide a, Wide b) { return number(a < b); }},
    {">", InBoth, 7, [](Wide a, Wide b) { return number(a > b); }},
    {"+", InBoth, 9, [](Wide a, Wide b) { return number(a + b); }},
    {"-", InBoth, 9, [](Wide a, Wide b) { return number(a - b); }},
    {"**", InOperators, 11, power},
    {"*", InBoth, 10, multiply},
    {"/", InOperators, 10, divide},
    {"/", InPaths, 10, divideExactly},  // no operator of paths, but written by tools
    {"div", InPaths, 10, divideExactly},
    {"%", InOperators, 10, remainder},
    {"mod", InPaths, 10, remainder},
};

constexpr UnaryOperator unaryOperators[] = {
    {'-', InBoth, [](Wide a) { return number(-a); }},
    {'+', InOperators, [](Wide a) { return number(a); }},
    {'!', InOperators, [](Wide a) { return number(a == 0); }},
    {'~', InOperators, [](Wide a) { return number(~a); }},
};

template <class Operator, std::size_t size>
const Operator* operatorAt(const Operator (&all)[size], std::string_view text, Notation notation) {
    const auto* found = std::find_if(std::begin(all), std::end(all), [&](const Operator& candidate) {
        return (candidate.notations >> static_cast<unsigned>(notation) & 1U) != 0 &&
               text.starts_with(candidate.token);
    });
    return found == std::end(all) ? nullptr : found;
}

Step unsignedDigits(std::string_view text, int base) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error == std::errc::invalid_argument || end != text.data() + text.size())
        return {{}, "it is no integer"};
    return error == std::errc() ? number(value) : number(largest + 1);
}

/// An integer of Verilog with its base, such as "8'hFF" or "'b10".
Step basedLiteral(std::string_view size, std::string_view rest) {
    constexpr std::pair<char, int> bases[] = {{'b', 2}, {'o', 8}, {'d', 10}, {'h', 16}};
    for (const auto& [letter, base] : bases) {
        if (rest.empty() || (rest.front() | 0x20) != letter) continue;
        const Step value = unsignedDigits(rest.substr(1), base);
        if (!value.value || size.empty()) return value;
        const Step bits = unsignedDigits(size, 10);
        if (!bits.value) return bits;
        if (*bits.value < 64 && *value.value >> *bits.value != 0)
            return {{}, "a literal does not fit into the bits that it says"};
        return value;
    }
    return {{}, "it is no integer"};
}

/// An integer of C or of IEEE 1685, such as "32", "0x20", "#20" or "4K".
Step plainLiteral(std::string_view text) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    } else if (text.starts_with('#')) {
        base = 16;
        text.remove_prefix(1);
    }
    constexpr std::string_view magnitudes = "kmgt";
    const auto magnitude =
        text.empty() ? std::string_view::npos : magnitudes.find(static_cast<char>(text.back() | 0x20));
    if (magnitude == std::string_view::npos) return unsignedDigits(text, base);
    const Step value = unsignedDigits(text.substr(0, text.size() - 1), base);
    return value.value ? multiply(*value.value, Wide{1} << 10 * (magnitude + 1)) : value;
}

}  // namespace

bool BinaryOperator::isDecidedBy(Wide left) const {
    return (precedence == orPrecedence && left != 0) || (precedence == andPrecedence && left == 0);
}

const BinaryOperator* binaryOperatorAt(std::string_view text, Notation notation) {
    return operatorAt(binaryOperators, text, notation);
}

const UnaryOperator* unaryOperatorAt(std::string_view text, Notation notation) {
    return operatorAt(unaryOperators, text, notation);
}

Step power(Wide base, Wide exponent) {
    if (exponent < 0) return {{}, "the exponent is negative"};
    Step result = number(1);
    Step square = number(base);
    for (; exponent > 0 && result.value; exponent /= 2) {
        if (!square.value) return square;
        if (exponent % 2 == 1) result = multiply(*result.value, *square.value);
        square = multiply(*square.value, *square.value);
    }
    return result;
}

Step ceilingOfLog2(Wide a) {
    if (a < 0) return {{}, "the logarithm is of a negative number"};
    return number(a < 2 ? 0 : std::bit_width(static_cast<std::uint64_t>(a - 1)));
}

Step literal(std::string_view text) {
    std::string bare(text);
    bare.erase(std::remove(bare.begin() + 1, bare.end(), '_'), bare.end());
    const std::size_t apostrophe = bare.find('\'');
    if (apostrophe == std::string::npos) return plainLiteral(bare);
    const std::string_view view = bare;
    return basedLiteral(view.substr(0, apostrophe), view.substr(apostrophe + 1));
}

}  // namespace kfab::ip
