#pragma once

#include "platform/base/Export.h"

#include <string>
#include <string_view>

/// Names that are as good as nobody else's: twelve random hexadecimal digits between two texts.
struct KP_EXPORT UniqueNames {
    static constexpr std::size_t randomSize = 12;

    std::string prefix;
    std::string suffix;

    std::string next() const;
    /// Whether this is such a name.
    bool contain(std::string_view name) const;
};
