#include "platform/messages/ComMsgMgr.h"

#include "platform/messages/Catalog.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <stdexcept>
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

ComMsg build(std::string_view id, ComMsgMgr::Arguments arguments) {
    const messages::CatalogEntry* entry = messages::findInCatalog(id);
    if (entry == nullptr) throw std::invalid_argument("No message in the catalog: " + std::string(id));
    const auto markers = std::count(id.begin(), id.end(), '%');
    if (static_cast<std::size_t>(markers) != arguments.size())
        throw std::invalid_argument("Wrong number of arguments for message " + std::string(id));
    std::string text = fillIn(entry->sentence, arguments);
    return {std::string(id), entry->severity, "common", std::move(arguments), std::move(text)};
}

std::string shown(const ComMsg& message) {
    return "[" + message.number() + "] " + message.text;
}

void writeToStandardError(const ComMsg& message) {
    std::cerr << message.severityText() << ": " << shown(message) << '\n';
}

ComMsgMgr::Sink& currentSink() {
    static ComMsgMgr::Sink sink;
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

void ComMsgMgr::post(std::string_view id, Arguments arguments) {
    const ComMsg message = build(id, std::move(arguments));
    const Sink& sink = currentSink();
    sink ? sink(message) : writeToStandardError(message);
}

void ComMsgMgr::raise(std::string_view id, Arguments arguments) {
    auto message = std::make_shared<const ComMsg>(build(id, std::move(arguments)));
    throw HEXAll(shown(*message), message);
}

ComMsgMgr::Sink ComMsgMgr::setSink(Sink sink) {
    return std::exchange(currentSink(), std::move(sink));
}
