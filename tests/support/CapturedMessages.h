#pragma once

#include "platform/messages/ComMsgMgr.h"

#include <string>
#include <utility>
#include <vector>

/// Catches every message that is posted while it lives.
class CapturedMessages {
public:
    CapturedMessages()
        : before_(ComMsgMgr::setSink([this](const ComMsg& message) { all_.push_back(message); })) {}
    ~CapturedMessages() { ComMsgMgr::setSink(std::move(before_)); }
    CapturedMessages(const CapturedMessages&) = delete;
    CapturedMessages& operator=(const CapturedMessages&) = delete;

    const std::vector<ComMsg>& all() const { return all_; }

    /// Each message as "17-1406: " and its text.
    std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (const ComMsg& message : all_)
            texts.push_back(message.number() + ": " + message.text);
        return texts;
    }

    /// Each message as its id and its arguments: "@17-1406@%s[ip]".
    std::vector<std::string> calls() const {
        std::vector<std::string> calls;
        for (const ComMsg& message : all_) {
            calls.push_back(message.id);
            for (const std::string& argument : message.arguments)
                calls.back() += "[" + argument + "]";
        }
        return calls;
    }

    void clear() { all_.clear(); }

private:
    std::vector<ComMsg> all_;
    ComMsgMgr::Sink before_;
};
