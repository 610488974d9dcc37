#pragma once

#include "platform/messages/ComMsgMgr.h"

#include <string_view>

namespace messages {

struct CatalogEntry {
    std::string_view id;
    ComMsg::Severity severity;
    std::string_view sentence;  ///< %1, %2 ... stand for the arguments
};

/// The entry of an id, or none.
const CatalogEntry* findInCatalog(std::string_view id);

}  // namespace messages
