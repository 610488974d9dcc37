#pragma once

#include "platform/base/Export.h"

#include <string>
#include <string_view>
#include <vector>

/// A numbered message with its arguments, as it was posted.
struct KP_EXPORT ComMsg {
    enum class Severity { Info = 1, Warning = 2, Error = 3 };

    std::string id;                      ///< such as "@17-1406@%s": facility, number, argument markers
    Severity severity = Severity::Info;  ///< as the catalog has it
    std::string category;                ///< always "common" for the messages of this system
    std::vector<std::string> arguments;  ///< one for each marker of the id, in order
    std::string text;                    ///< the catalog's sentence with the arguments in place
    std::string detail;                  ///< what the system said beside the arguments; mostly empty
    bool isThrown = false;               ///< in a HEXAll as well: whoever catches that shows the message

    /// The facility and number as shown to people: "17-1406".
    std::string number() const;
    /// "info", "warning" or "error".
    std::string_view severityText() const;
    /// As one line for people: "[17-1406] ", the text and, after a colon, the detail if there is one.
    std::string shown() const;
};
