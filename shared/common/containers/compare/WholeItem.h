#pragma once

#include "containers/compare/Comparison.h"

#include <string>

namespace kfab::compare {

/// The difference that something was added or removed as a whole.
inline Difference wholeItem(const std::string& kernel, Kind kind, Change change, std::string path,
                            const std::string& name) {
    Difference told{.kernel = kernel, .kind = kind, .change = change, .path = std::move(path)};
    (change == Change::Added ? told.newText : told.oldText) = name;
    return told;
}

}  // namespace kfab::compare
