#pragma once

#include <string>

/// Something wrong with a package.
struct PackageFinding {
    std::string code;    ///< a stable word for programs, such as "duplicate-name"
    std::string member;  ///< the member it concerns; empty for the package as a whole
    std::string text;    ///< a sentence
};
