#pragma once

#include "containers/ip/Arithmetic.h"

#include <optional>
#include <string>
#include <string_view>

namespace kfab::ip {

/// A number, or why there is none: a clause such as "'A / 0': division by zero".
struct Result {
    std::optional<Wide> value;
    std::string unknown;
};

/// What names in expressions stand for.
class Names {
public:
    virtual ~Names() = default;

    /// How deep expressions and what their names stand for may still be nested.
    int levelsLeft = 100;

private:
    friend class Evaluation;
    virtual Result valueOf(std::string_view name) = 0;
};

/// Works an expression out. Nothing is guessed: what does not fit into 64 bits, divides by zero, has a form,
/// a function or a name that is not known, or rests on something of that kind, is unknown. Of a choice only
/// the side that is taken must be known.
Result evaluate(std::string_view expression, Notation notation, Names& names);

/// The value of what has no names in it.
Result evaluateLiteral(std::string_view expression);

}  // namespace kfab::ip
