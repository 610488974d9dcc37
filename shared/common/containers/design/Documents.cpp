#include "containers/design/Documents.h"

void documents::raiseUnreadable(const lmx60::ReadError& error, const std::string& path) {
    ComMsgMgr::raise("@17-132@%s%s%d", {error.error().text, path, std::to_string(error.error().line)});
}
