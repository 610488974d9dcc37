#pragma once

#include "platform/base/Exceptions.h"
#include "platform/base/Export.h"

#include <functional>
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

    /// The facility and number as shown to people: "17-1406".
    std::string number() const;
    /// "info", "warning" or "error".
    std::string_view severityText() const;
};

/// Posts numbered messages to the current sink.
class KP_EXPORT ComMsgMgr {
public:
    using Sink = std::function<void(const ComMsg&)>;
    using Arguments = std::vector<std::string>;

    /// Posts a message. Throws std::invalid_argument when the catalog lacks the id or the number of arguments
    /// is not that of the id's markers.
    static void post(std::string_view id, Arguments arguments = {});

    /// Builds a message and throws it in a HEXAll whose what() is "[17-132] " and the text. It is not posted
    /// as well: whoever catches the exception shows it, once.
    [[noreturn]] static void raise(std::string_view id, Arguments arguments = {});

    /// Replaces the sink and returns the one before it. An empty sink stands for standard error. One sink
    /// serves the whole process; setting it while another thread posts is the caller's to prevent.
    static Sink setSink(Sink sink);
};
