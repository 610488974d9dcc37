#include "containers/design/Documents.h"

#include "platform/files/Disk.h"

namespace documents {

void raiseUnreadable(const lmx60::ReadError& error, const std::string& path) {
    ComMsgMgr::raise("@17-132@%s%s%d", {error.error().text, path, std::to_string(error.error().line)});
}

void raiseUnwritable(const std::string& path, const std::string& reason) {
    ComMsgMgr::raise("@17-1377@%s%s", {path, reason});
}

void requireFile(const std::string& path) {
    if (path.empty() || !HUTFile::exists(path)) throw HEXFileNotFoundException(path);
}

void writeFile(const std::string& path, const std::string& document) {
    try {
        HUTFile::writeFile(path, document);
    } catch (const disk::Failure& failure) {
        ComMsgMgr::raise("@17-1376@%s", {path}, failure.reason());
    } catch (const HEXAlgException& failure) {
        ComMsgMgr::raise("@17-1376@%s", {path}, failure.what());
    }
}

}  // namespace documents
