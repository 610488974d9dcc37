#pragma once

#include "platform/messages/ComMsgMgr.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>

namespace cli {

/// While it lives, numbered messages come to it, and it passes on what it will to the sink that was there
/// before.
class MessageFilter {
public:
    using Filter = std::function<void(const ComMsg& message, const ComMsgMgr::Sink& pass)>;

    explicit MessageFilter(Filter filter);
    ~MessageFilter();
    MessageFilter(const MessageFilter&) = delete;
    MessageFilter& operator=(const MessageFilter&) = delete;

    const ComMsgMgr::Sink& before() const { return before_; }

private:
    ComMsgMgr::Sink before_;
};

/// While it lives, ten messages of one number about one document are passed on; at its end a message tells
/// how many more of them there were.
class MessageLimit {
public:
    MessageLimit();
    ~MessageLimit();
    MessageLimit(const MessageLimit&) = delete;
    MessageLimit& operator=(const MessageLimit&) = delete;

private:
    struct Kind {
        std::uint64_t shown = 0;
        std::uint64_t more = 0;
        ComMsg firstHidden;
    };

    void take(const ComMsg& message, const ComMsgMgr::Sink& pass);

    std::map<std::pair<std::string, std::string>, Kind> kinds_;  ///< by number and document
    MessageFilter filter_;
};

}  // namespace cli
