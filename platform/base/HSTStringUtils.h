#pragma once

#include "platform/base/Export.h"

#include <string>
#include <string_view>

/// Comparison of strings without regard to case. Only the letters A to Z fold, in every locale.
class KP_EXPORT HSTStringUtils {
public:
    static bool equalsIgnoreCase(std::string_view a, std::string_view b);
    static bool startsWithIgnoreCase(std::string_view text, std::string_view prefix);

    /// The text with A to Z in lower case: equal for exactly the strings that equalsIgnoreCase calls equal.
    static std::string foldCase(std::string_view text);
};
