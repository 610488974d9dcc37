#include "platform/messages/DocumentMessages.h"

namespace {

constexpr std::size_t mostOwn = 10;

}  // namespace

bool DocumentMessages::mayPost(const messages::CatalogEntry& entry) {
    return !entry.isOwn() || ++own_ <= mostOwn;
}

void DocumentMessages::finish() const {
    if (own_ > mostOwn) ComMsgMgr::post("@17-2006@%d%s", {std::to_string(own_ - mostOwn), name_});
}
