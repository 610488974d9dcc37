#pragma once

#include <optional>
#include <string_view>

namespace kfab::ip {

/// Wide enough for what signed and unsigned numbers of 64 bits have in common on the way to a result.
__extension__ using Wide = __int128;

enum class Notation : unsigned {
    Operators,  ///< integers of C and Verilog, their operators and names
    Path,       ///< as attributes of dependency have it: id('NAME'), div, mod, and, or, =
};

/// A number that fits into 64 bits, with a sign or without, or why there is none.
struct Step {
    std::optional<Wide> value;
    std::string_view problem;
};

struct BinaryOperator {
    std::string_view token;
    unsigned notations;  ///< bits by number
    int precedence;      ///< the higher binds tighter; 1 at least
    Step (*apply)(Wide left, Wide right);

    /// Whether the right operand does not matter.
    bool isDecidedBy(Wide left) const;
};

struct UnaryOperator {
    char token;
    unsigned notations;
    Step (*apply)(Wide value);
};

/// The operator that a text begins with, or none.
const BinaryOperator* binaryOperatorAt(std::string_view text, Notation notation);
const UnaryOperator* unaryOperatorAt(std::string_view text, Notation notation);

Step power(Wide base, Wide exponent);
Step ceilingOfLog2(Wide value);

/// An integer of C or Verilog, or one with a magnitude, such as "4K". The text is not empty.
Step literal(std::string_view text);

}  // namespace kfab::ip
