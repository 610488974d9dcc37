#pragma once

#include "platform/base/Export.h"

#include <string>
#include <string_view>

/// Paths as text; nothing here looks at the disk.
class KP_EXPORT HUTPathUtils {
public:
    /// The two parts with exactly one separator between them; an empty part adds nothing.
    static std::string join(std::string_view first, std::string_view second);
    /// A relative path made absolute by the working directory.
    static std::string makeAbsolute(const std::string& path);
    /// The last component, without trailing separators: "b" of "a/b/".
    static std::string_view lastComponent(std::string_view path);
    /// What stands before the last component: "a" of "a/b", "." of "b", "/" of "/b".
    static std::string parent(std::string_view path);
    /// The text fit for a message: control characters, and bytes that are no UTF-8, as "\xNN".
    static std::string shown(std::string_view text);
};
