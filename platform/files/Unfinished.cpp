#include "platform/files/Unfinished.h"

#include "platform/base/Exceptions.h"

#include <fcntl.h>

using disk::DirectoryItem;
using disk::FileDescriptor;

namespace {

/// Removes what nobody living has. What another user left, for one, does not keep this process from working.
void removeIfAbandoned(const disk::Where& where) try {
    const FileDescriptor found = disk::openIfThere(where, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (found.isOpen() && disk::tryLock(found)) disk::removeTree(where);
} catch (const HEXAlgException&) {
}

void removeAbandoned(const FileDescriptor& directory, const UniqueNames& names,
                     DirectoryItem::Kind kind) try {
    for (const DirectoryItem& item : disk::list({directory, "."}))
        if (item.kind == kind && names.contain(item.name)) removeIfAbandoned({directory, item.name});
} catch (const HEXAlgException&) {  // it may be closed to listing
}

}  // namespace

Unfinished::Unfinished(Kind kind, const std::string& directory, const UniqueNames& names, mode_t mode)
    : Unfinished() {
    disk::requireWritable(directory);
    directory_ = disk::open(directory, O_PATH | O_DIRECTORY);
    removeAbandoned(directory_, names, kind);
    while (!make(kind, names.next(), mode) || !isMine()) {
    }
}

Unfinished::~Unfinished() {
    if (!name_.empty()) disk::removeTree(where());
}

/// Returns false when the name is taken.
bool Unfinished::make(Kind kind, const std::string& name, mode_t mode) {
    if (kind == Kind::File) {
        file_ = disk::createIfAbsent({directory_, name}, O_RDWR, mode);
        if (file_.isOpen()) name_ = name;
    } else if (disk::makeDirectory({directory_, name}, mode)) {
        name_ = name;
        file_ = disk::openIfThere(where(), O_RDONLY | O_DIRECTORY);
    }
    return file_.isOpen();
}

/// Before it is locked, somebody else may have taken it for abandoned.
bool Unfinished::isMine() const {
    try {
        if (!disk::tryLock(file_)) return false;
    } catch (const HEXAlgException&) {  // the file system has no locks
    }
    return disk::status(file_).st_nlink > 0;
}

void Unfinished::replace(const std::string& name) {
    disk::rename(where(), {directory_, name});
    name_.clear();
}

bool Unfinished::place(const std::string& name) {
    const bool isPlaced = disk::renameNoReplace(where(), {directory_, name});
    if (isPlaced) name_.clear();
    return isPlaced;
}
