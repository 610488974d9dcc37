#pragma once

#include "platform/base/Export.h"

#include <string>
#include <string_view>
#include <vector>

/// Paths as text; nothing here looks at the disk.
class KP_EXPORT HUTPathUtils {
public:
    /// The two parts with exactly one separator between them; an empty part adds nothing.
    static std::string join(std::string_view first, std::string_view second);
    /// The path without separators at its end; nothing is left of "/".
    static std::string_view withoutTrailingSeparators(std::string_view path);
    /// What stands between the separators, without empty components.
    static std::vector<std::string_view> components(std::string_view path);
    /// The last component, without trailing separators: "b" of "a/b/".
    static std::string_view lastComponent(std::string_view path);
    /// What stands before the last component: "a" of "a/b", "." of "b", "/" of "/b".
    static std::string parent(std::string_view path);

    /// The text fit for a message: control characters, and bytes that are no UTF-8, as "\xNN".
    static std::string shown(std::string_view text);
    /// The same between single quotes. Of a text of more than `longest` bytes so many at most, cut between
    /// two characters, and "...".
    static std::string quoted(std::string_view text, std::size_t longest = std::string_view::npos);
};
