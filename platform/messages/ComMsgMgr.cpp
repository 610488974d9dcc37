#include "platform/messages/ComMsgMgr.h"

#include <iostream>
#include <memory>
#include <utility>

namespace {

/// Puts the arguments in place of %1 to %9. A colon and the number after it, as of a line, go where it is 0.
std::string fillIn(std::string_view sentence, const ComMsgMgr::Arguments& arguments) {
    std::string text;
    for (std::size_t i = 0; i < sentence.size(); ++i) {
        if (sentence[i] == '%' && i + 1 < sentence.size()) {
            const std::string& argument = arguments.at(static_cast<std::size_t>(sentence[++i] - '1'));
            if (argument == "0" && text.ends_with(':')) {
                text.pop_back();
            } else {
                text += argument;
            }
        } else {
            text += sentence[i];
        }
    }
    return text;
}

ComMsg build(const messages::CatalogEntry& entry, ComMsgMgr::Arguments arguments) {
    std::string text = fillIn(entry.sentence, arguments);
    return {
        std::string(entry.id), entry.severity, "common", std::move(arguments), std::move(text), {}, false};
}

void writeToStandardError(const ComMsg& message) {
    if (!message.isThrown) std::cerr << message.severityText() << ": " << message.shown() << '\n';
}

ComMsgMgr::Sink& currentSink() {
    static ComMsgMgr::Sink sink = writeToStandardError;
    return sink;
}

}  // namespace

std::string ComMsg::number() const {
    return id.substr(1, id.find('@', 1) - 1);
}

std::string_view ComMsg::severityText() const {
    constexpr std::string_view words[] = {"info", "warning", "error"};
    return words[static_cast<int>(severity) - static_cast<int>(Severity::Info)];
}

std::string ComMsg::shown() const {
    return "[" + number() + "] " + text + (detail.empty() ? "" : ": " + detail);
}

void ComMsgMgr::post_(const messages::CatalogEntry& entry, Arguments arguments) {
    currentSink()(build(entry, std::move(arguments)));
}

void ComMsgMgr::raise_(const messages::CatalogEntry& entry, Arguments arguments, const std::string& detail) {
    auto message = std::make_shared<ComMsg>(build(entry, std::move(arguments)));
    message->detail = detail;
    message->isThrown = true;
    currentSink()(*message);
    throw HEXAll(message->shown(), message);
}

ComMsgMgr::Sink ComMsgMgr::setSink(Sink sink) {
    return std::exchange(currentSink(), sink ? std::move(sink) : writeToStandardError);
}
