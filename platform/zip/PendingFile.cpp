#include "platform/zip/PendingFile.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <string_view>

#include <boost/filesystem/operations.hpp>
#include <climits>
#include <fcntl.h>

namespace {

constexpr std::string_view mark = ".kp-";
constexpr std::string_view randomPart = "%%%%%%";

/// What the names of all pending files for a destination begin with.
std::string namePrefix(const std::string& destination) {
    constexpr std::size_t longest = NAME_MAX - 1 - mark.size() - randomPart.size();
    return "." + std::string(HUTPathUtils::lastComponent(destination).substr(0, longest)) + std::string(mark);
}

bool isRandomPart(std::string_view text) {
    return text.size() == randomPart.size() &&
           text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// Removes the pending file at `path` unless a living process has it.
void removeIfAbandoned(const std::string& path) {
    const disk::FileDescriptor file = disk::openIfThere(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (file.isOpen() && S_ISREG(disk::status(file).st_mode) && disk::tryLock(file)) disk::remove(path);
}

/// What another user left, or a directory that may not be listed, does not keep this process from working.
void removeAbandoned(const std::string& directory, const std::string& prefix) try {
    for (const disk::DirectoryItem& item : disk::list(directory)) {
        const std::string_view name = item.name;
        if (name.starts_with(prefix) && isRandomPart(name.substr(prefix.size())))
            removeIfAbandoned(HUTPathUtils::join(directory, name));
    }
} catch (const HEXAlgException&) {
}

}  // namespace

PendingFile::PendingFile(const std::string& destination, mode_t mode) : destination_(destination) {
    const std::string directory = HUTPathUtils::parent(destination);
    disk::requireWritable(directory);
    const std::string prefix = namePrefix(destination);
    removeAbandoned(directory, prefix);
    const boost::filesystem::path model = std::string(randomPart);
    bool isCreated = false;
    while (!isCreated)
        isCreated = create(
            HUTPathUtils::join(directory, prefix + boost::filesystem::unique_path(model).string()), mode);
}

bool PendingFile::create(const std::string& path, mode_t mode) {
    file_ = disk::createIfAbsent(path, O_RDWR, mode);
    if (!file_.isOpen()) return false;
    // Before it is locked, another edit may take it for abandoned.
    try {
        if (disk::tryLock(file_) && disk::status(file_).st_nlink > 0) return true;
    } catch (...) {
        disk::remove(path);
        throw;
    }
    return false;
}

PendingFile::~PendingFile() {
    if (isInPlace_) return;
    try {
        disk::remove(file_.path());
    } catch (const HEXAlgException&) {
        // The next edit of the archive removes it.
    }
}

void PendingFile::replace() {
    disk::rename(file_.path(), destination_);
    isInPlace_ = true;
}

bool PendingFile::place() {
    isInPlace_ = disk::renameNoReplace(file_.path(), destination_);
    return isInPlace_;
}
