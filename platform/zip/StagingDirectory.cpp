#include "platform/zip/StagingDirectory.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"

#include <string_view>

#include <fcntl.h>

namespace {

constexpr std::string_view suffix = ".kp-incomplete";

/// Takes the lock of an open directory unless somebody has it. Where the file system cannot lock directories
/// nobody has, and none is ever taken for abandoned.
bool tryLock(const disk::FileDescriptor& directory, bool whereUnsupported) {
    try {
        return disk::tryLock(directory);
    } catch (const HEXAlgException&) {
        return whereUnsupported;
    }
}

void removeAbandoned(const std::string& destination) {
    for (const disk::DirectoryItem& item : disk::list(destination)) {
        if (!HUTFileUtils::isUniqueDirName(item.name, suffix)) continue;
        const std::string path = HUTPathUtils::join(destination, item.name);
        try {
            const disk::FileDescriptor found = disk::openIfThere(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
            if (found.isOpen() && tryLock(found, false)) HUTFileUtils::removeTree(path);
        } catch (const HEXAlgException&) {
            // What another user left, for one, does not keep this one from working.
        }
    }
}

}  // namespace

StagingDirectory::StagingDirectory(const std::string& destination) {
    removeAbandoned(destination);
    do {
        directory_.emplace(destination, std::string(suffix));
        lock_ = disk::openIfThere(directory_->path(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    } while (!isLocked());

    constexpr mode_t allBits = 0777;
    const std::string files = "files";
    disk::makeDirectory(lock_, files, allBits);
    top_ = disk::openDirectory(lock_, files);
    creatableBits_ = disk::status(top_).st_mode & allBits;
}

/// Before it is locked, somebody else may have taken it for abandoned.
bool StagingDirectory::isLocked() {
    return lock_.isOpen() && tryLock(lock_, true) && disk::status(lock_).st_nlink > 0;
}
