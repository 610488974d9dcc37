#include "platform/files/PendingFile.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/messages/ComMsgMgr.h"

#include <climits>

namespace {

UniqueNames namesFor(const std::string& destination) {
    constexpr std::string_view dot = ".", mark = ".kp-";
    constexpr std::size_t longest = NAME_MAX - dot.size() - mark.size() - UniqueNames::randomSize;
    const std::string_view name = HUTPathUtils::lastComponent(destination).substr(0, longest);
    return {std::string(dot).append(name).append(mark), ""};
}

}  // namespace

PendingFile::PendingFile(const std::string& destination, const std::optional<struct stat>& replaced)
    : destination_(destination),
      unfinished_(Unfinished::Kind::File, HUTPathUtils::parent(destination), namesFor(destination),
                  replaced ? 0600 : 0666) {
    unfinished_.showAs(destination);
    if (!replaced) return;
    disk::setOwner(file(), replaced->st_uid, replaced->st_gid);
    disk::setMode(file(), replaced->st_mode & 07777);
}

void PendingFile::replace() {
    unfinished_.replace(std::string(HUTPathUtils::lastComponent(destination_)));
    makeDurable();
}

bool PendingFile::place() {
    const bool isPlaced = unfinished_.place(std::string(HUTPathUtils::lastComponent(destination_)));
    if (isPlaced) makeDurable();
    return isPlaced;
}

void PendingFile::makeDurable() const {
    try {
        unfinished_.syncDirectory();
    } catch (const HEXAlgException& failure) {
        ComMsgMgr::post("@17-2003@%s%s", {HUTPathUtils::shown(destination_), failure.what()});
    }
}
