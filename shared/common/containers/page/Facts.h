#pragma once

#include "containers/overview/Wording.h"
#include "containers/page/Markup.h"

#include <string>

namespace kfab::page {

/// A list of names and what is said of them; what is empty is left out.
class Facts {
public:
    Facts(Markup& out, Literal kind)
        : out_(out), list_(out.open("dl", {{"class", std::string(kind.text())}})) {}

    void add(Literal name, const overview::Statement& statement);
    void add(Literal name, const std::string& text) { add(name, overview::Statement{text}); }

private:
    Markup& out_;
    Markup::Element list_;
};

}  // namespace kfab::page
