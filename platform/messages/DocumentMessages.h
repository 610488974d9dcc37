#pragma once

#include "platform/messages/ComMsgMgr.h"

#include <cstddef>
#include <string>

/// Posts messages about one document, which may be made to cause any number of them. The host's are all
/// posted, of this system's own ten; the rest of these is counted.
class KP_EXPORT DocumentMessages {
public:
    /// The name stands for the document in the message that counts.
    explicit DocumentMessages(const std::string& name) : name_(name) {}

    template <std::size_t count>
    void post(ComMsgMgr::Id<count> id, const std::string (&arguments)[count]) {
        if (mayPost(id.entry())) ComMsgMgr::post(id, arguments);
    }
    /// To be called once the document is read: posts how many were left out, if any were.
    void finish() const;

private:
    bool mayPost(const messages::CatalogEntry& entry);

    std::string name_;
    std::size_t own_ = 0;
};
