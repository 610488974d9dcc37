#include "containers/author/KernelRefused.h"

#include <algorithm>

namespace kfab::author {

namespace {

/// "column 6: ", or "line 2, column 6: " in a text of several lines.
std::string placeIn(const std::string& text, std::size_t at) {
    const std::string before = text.substr(0, at);
    std::string column = "column " + std::to_string(at - (before.rfind('\n') + 1) + 1) + ": ";
    if (text.find('\n') == std::string::npos) return column;
    return "line " + std::to_string(std::count(before.begin(), before.end(), '\n') + 1) + ", " + column;
}

}  // namespace

KernelRefused::~KernelRefused() = default;

PrototypeRefused::PrototypeRefused(const std::string& prototype, std::size_t at, const std::string& text,
                                   Lacking lacking, const std::string& argument)
    : KernelRefused(placeIn(prototype, at) + text, lacking, argument) {}

PrototypeRefused::~PrototypeRefused() = default;

}  // namespace kfab::author
