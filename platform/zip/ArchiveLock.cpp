#include "platform/zip/ArchiveLock.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

using Identity = std::pair<dev_t, ino_t>;

Identity identityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

std::vector<Identity>& heldByThisThread() {
    thread_local std::vector<Identity> identities;
    return identities;
}

}  // namespace

ArchiveLock::ArchiveLock(const std::string& path) {
    auto& held = heldByThisThread();
    do {
        file_ = disk::openIfThere(path, O_RDWR | O_NONBLOCK);
        if (!file_.isOpen()) return;
        status_ = disk::status(file_);
        if (!S_ISREG(status_.st_mode))
            throw HEXAlgException(HUTPathUtils::quoted(path) +
                                  " is not a readable archive: it is not a file");
        if (std::find(held.begin(), held.end(), identityOf(status_)) != held.end())
            throw HEXAlgException(HUTPathUtils::quoted(path) + " is being edited already");
        disk::lock(file_);
    } while (!isInPlace());  // another edit replaced it meanwhile
    held.push_back(identityOf(status_));
}

ArchiveLock::~ArchiveLock() {
    if (isHeld()) std::erase(heldByThisThread(), identityOf(status_));
}

bool ArchiveLock::isInPlace() const {
    const auto now = disk::statusIfThere(file_.path());
    return now && identityOf(*now) == identityOf(status_);
}
