#pragma once

#include "containers/ip/Expression.h"
#include "containers/ip/IpComponent.h"
#include "platform/xml/ElementTree.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace kfab::ip {

Number known(std::uint64_t value);

/// Of two numbers, with the first one's line; unknown when one of them is, or the result does not fit.
Number sum(const Number& a, const Number& b);
Number product(const Number& a, const Number& b);

/// Works out the numbers of one document by the parameters in it.
class Values : private Names {
public:
    explicit Values(const lmx60::ElementTree& document);

    Number numberOf(lmx60::Element element);
    /// False when a condition of the element's presence is known not to hold.
    bool isPresent(lmx60::Element element);

private:
    enum class State { New, AtWork, Known, Ambiguous };

    /// What a name stands for: the element with its value.
    struct Definition {
        lmx60::Element value;
        State state = State::New;
        Result result;
    };

    void define(std::string_view name, lmx60::Element value);
    Result resultOf(lmx60::Element element);
    Result valueOf(std::string_view name) override;

    std::map<std::string_view, Definition> definitions_;
};

}  // namespace kfab::ip
