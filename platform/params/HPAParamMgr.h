#pragma once

#include "platform/base/Export.h"

#include <string>
#include <string_view>

/// Host parameters by name. A value set by the program comes first, then the file that the environment
/// variable KP_PARAM_FILE names (lines `name = value`, "#" begins a comment), then the caller's default. May
/// be used from any thread.
class KP_EXPORT HPAParamMgr {
public:
    /// "true", "yes" and "1" are true, "false", "no" and "0" are false, in any case of letters.
    /// Throws HEXAlgException when the value is another word or the file cannot be read or understood.
    static bool getBool(std::string_view name, bool defaultValue);

    static void setBool(const std::string& name, bool value);
    static void unset(const std::string& name);
};
