#pragma once

#include "platform/messages/ComMsgMgr.h"

#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace cli {

/// Writes a line for people to standard error: "kp: error: ...". Line ends at the end of the text are
/// dropped.
void complain(std::string_view severity, std::string_view text);

/// A sink for numbered messages that writes them to standard error; with `quiet`, errors alone. It leaves out
/// those that are thrown: who catches them complains.
ComMsgMgr::Sink messageSink(const bool& quiet);

/// The text as JSON can carry it: bytes of what is not UTF-8 escaped.
std::string jsonText(const std::string& text);

/// Writes a document to standard output, indented, with a line end.
void print(const nlohmann::ordered_json& document);

}  // namespace cli
