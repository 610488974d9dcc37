#include "cli/Output.h"

#include "cli/Terminal.h"
#include "platform/base/HI18N.h"
#include "platform/files/HUTPathUtils.h"

#include <iostream>

#include <nlohmann/json.hpp>

namespace cli {

namespace {

/// The word on a terminal in its colour.
std::string coloured(std::string_view severity) {
    const char* colour = severity == "error" ? "\x1b[31m" : severity == "warning" ? "\x1b[33m" : nullptr;
    if (colour == nullptr || !hasColour()) return std::string(severity);
    return colour + std::string(severity) + "\x1b[0m";
}

}  // namespace

void complain(std::string_view severity, std::string_view text) {
    while (text.ends_with('\n'))
        text.remove_suffix(1);
    std::cerr << "kp: " << coloured(severity) << ": " << HUTPathUtils::shown(text) << '\n';
}

ComMsgMgr::Sink messageSink(const bool& quiet) {
    return [&quiet](const ComMsg& message) {
        if (message.isThrown || (quiet && message.severity != ComMsg::Severity::Error)) return;
        if (message.number() == "17-1525") return;  // 17-2007 names the kernels whose IP becomes another one
        complain(message.severityText(), message.shown());
    };
}

std::string jsonText(const std::string& text) {
    return HI18N::isUtf8(text) ? text : HUTPathUtils::shown(text);
}

void print(const nlohmann::ordered_json& document) {
    constexpr auto replaceInvalid = nlohmann::ordered_json::error_handler_t::replace;
    std::cout << document.dump(2, ' ', false, replaceInvalid) << '\n';
}

}  // namespace cli
