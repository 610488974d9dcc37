#include "containers/ip/Values.h"

#include "platform/xml/Quoted.h"

namespace kfab::ip {
namespace {

using lmx60::quoted;

Number numberOr(bool overflows, std::uint64_t value, Line line) {
    Number number = known(value);
    if (overflows) number = {.value = {}, .unknown = "it does not fit into 64 bits", .line = {}};
    number.line = line;
    return number;
}

Number unknownOf(const Number& a, const Number& b) {
    return {.value = {}, .unknown = a.value ? b.unknown : a.unknown, .line = a.line};
}

}  // namespace

Number known(std::uint64_t value) {
    return {.value = value, .unknown = {}, .line = {}};
}

Number sum(const Number& a, const Number& b) {
    if (!a.value || !b.value) return unknownOf(a, b);
    std::uint64_t value = 0;
    const bool overflows = __builtin_add_overflow(*a.value, *b.value, &value);
    return numberOr(overflows, value, a.line);
}

Number product(const Number& a, const Number& b) {
    if (!a.value || !b.value) return unknownOf(a, b);
    std::uint64_t value = 0;
    const bool overflows = __builtin_mul_overflow(*a.value, *b.value, &value);
    return numberOr(overflows, value, a.line);
}

/// A value is referred to by the identifier of its parameter, which is its name where it has none; in older
/// editions each value has an identifier of its own.
Values::Values(const lmx60::ElementTree& document) {
    for (std::size_t i = 0; i < document.size(); ++i) {
        const lmx60::Element element = document[i];
        if (const auto id = element.attribute("id")) define(*id, element);
        if (element.name() != "parameter" && element.name() != "moduleParameter") continue;
        const lmx60::Element value = element.child("value");
        const lmx60::Element name = element.child("name");
        if (const auto id = element.attribute("parameterId")) {
            define(*id, value);
        } else if (value && name && !value.attribute("id")) {
            define(name.text(), value);
        }
    }
}

void Values::define(std::string_view name, lmx60::Element value) {
    const auto [place, isNew] = definitions_.try_emplace(name, Definition{value, State::New, {}});
    if (!isNew) place->second.state = State::Ambiguous;
}

Result Values::valueOf(std::string_view name) {
    const auto found = definitions_.find(name);
    if (found == definitions_.end()) {
        if (name == "true" || name == "false") return {name == "true", {}};
        return {{}, "there is no parameter " + quoted(name)};
    }
    Definition& definition = found->second;
    if (definition.state == State::AtWork)
        return {{}, "the parameter " + quoted(name) + " depends on itself"};
    if (definition.state == State::Ambiguous) return {{}, "there are several parameters " + quoted(name)};
    if (definition.state == State::New) {
        definition.state = State::AtWork;
        definition.result = resultOf(definition.value);
        definition.state = State::Known;
    }
    return definition.result;
}

Result Values::resultOf(lmx60::Element element) {
    if (!element) return {{}, "a parameter has no value"};
    const auto dependency = element.attribute("dependency");
    const bool isDependent = dependency && element.attribute("resolve") == "dependent";
    return isDependent ? evaluate(*dependency, Notation::Path, *this)
                       : evaluate(element.text(), Notation::Operators, *this);
}

Number Values::numberOf(lmx60::Element element) {
    const Result result = resultOf(element);
    Number number{.value = {}, .unknown = result.unknown, .line = {element.line()}};
    if (result.value && *result.value < 0) number.unknown = quoted(element.text()) + ": it is negative";
    if (result.value && *result.value >= 0) number.value = static_cast<std::uint64_t>(*result.value);
    return number;
}

bool Values::isPresent(lmx60::Element element) {
    const lmx60::Element condition = element.child("isPresent");
    return !condition || numberOf(condition).value != 0;
}

}  // namespace kfab::ip
