// Posts a message by an id that the compiler must refuse; see CMakeLists.txt.

#include "platform/messages/ComMsgMgr.h"

void post(const std::string& argument) {
    ComMsgMgr::post(POSTED, {argument});
}
