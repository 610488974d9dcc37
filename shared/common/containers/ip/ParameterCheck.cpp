#include "containers/ip/ParameterCheck.h"

#include "containers/ip/Expression.h"
#include "platform/base/Spelling.h"
#include "platform/xml/LeafText.h"
#include "platform/xml/Quoted.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace kfab::ip {
namespace {

using lmx60::quoted;

/// Holds all integers of 64 bits exactly.
using Quantity = long double;

/// The number that a text is by itself; none when it is none or names others.
std::optional<Quantity> quantityIn(std::string_view text, ParameterType type) {
    if (type == ParameterType::Real) {
        double real = 0;
        text = lmx60::collapsed(text);
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), real);
        if (error == std::errc() && end == text.data() + text.size()) return real;
    }
    const Result result = evaluateLiteral(text);
    if (!result.value) return std::nullopt;
    return static_cast<Quantity>(*result.value);
}

const Parameter* findParameter(const IpComponent& component, const std::string& name) {
    for (const auto* parameters : {&component.parameters, &component.moduleParameters})
        for (const Parameter& parameter : *parameters)
            if (parameter.name == name) return &parameter;
    return nullptr;
}

std::string unknownName(const IpComponent& component, const std::string& name) {
    std::vector<std::string> names;
    for (const auto* parameters : {&component.parameters, &component.moduleParameters})
        for (const Parameter& parameter : *parameters)
            names.push_back(parameter.name);
    const std::string meant = nearestSpelling(name, names);
    return "the IP " + quoted(component.vlnv.text()) + " has no parameter " + quoted(name) +
           (meant.empty() ? "" : "; did you mean " + quoted(meant) + "?");
}

std::string list(const std::vector<std::string>& values) {
    constexpr std::size_t most = 10;
    std::string text;
    for (std::size_t i = 0; i < std::min(values.size(), most); ++i)
        text += (i == 0 ? "" : ", ") + quoted(values[i]);
    return values.size() > most ? text + ", ..." : text;
}

/// What is wrong with a value, as the end of a sentence.
std::string problemOf(const IpComponent& component, const Parameter& parameter, const std::string& value) {
    const std::optional<Quantity> given = quantityIn(value, parameter.type);
    const auto isGiven = [&](const std::string& other) {
        return lmx60::collapsed(other) == lmx60::collapsed(value) ||
               (given && quantityIn(other, parameter.type) == given);
    };
    for (const Choice& choice : component.choices) {
        if (choice.name != parameter.choice) continue;
        const bool isOne = std::any_of(choice.values.begin(), choice.values.end(), isGiven);
        return isOne ? "" : "is none of " + list(choice.values);
    }
    if (!given && parameter.type == ParameterType::Integer) return "is no integer of 64 bits";
    if (!given && parameter.type == ParameterType::Real) return "is no number";
    const auto minimum = quantityIn(parameter.minimum, parameter.type);
    const auto maximum = quantityIn(parameter.maximum, parameter.type);
    if (given && minimum && *given < *minimum) return "is below the minimum " + quoted(parameter.minimum);
    if (given && maximum && *given > *maximum) return "is above the maximum " + quoted(parameter.maximum);
    return {};
}

}  // namespace

std::optional<std::string> checkParameter(const IpComponent& component, const std::string& name,
                                          const std::string& value) {
    const Parameter* parameter = findParameter(component, name);
    if (parameter == nullptr) return unknownName(component, name);
    const std::string problem = problemOf(component, *parameter, value);
    if (problem.empty()) return std::nullopt;
    return "the value " + quoted(value) + " of parameter " + quoted(name) + " " + problem;
}

}  // namespace kfab::ip
