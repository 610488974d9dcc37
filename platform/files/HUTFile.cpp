#include "platform/files/HUTFile.h"

#include "platform/files/DirectoryTree.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/files/PendingFile.h"

#include <algorithm>

bool HUTFile::exists(const std::string& path) {
    return disk::statusIfThere(path).has_value();
}

bool HUTFile::isFile(const std::string& path) {
    const auto status = disk::statusIfThere(path);
    return status && S_ISREG(status->st_mode);
}

bool HUTFile::isDir(const std::string& path) {
    const auto status = disk::statusIfThere(path);
    return status && S_ISDIR(status->st_mode);
}

std::string HUTFile::getCanonicalName(const std::string& path) {
    return disk::canonical(path);
}

std::uint64_t HUTFile::fileCount(const std::string& directory) {
    if (!isDir(directory)) return 0;
    const std::vector<TreeItem> items = DirectoryTree::walk(directory);
    return static_cast<std::uint64_t>(
        std::count_if(items.begin(), items.end(), [](const TreeItem& item) { return !item.isDirectory; }));
}

HUTFileIter HUTFile::createFileIter(const std::string& directory) {
    using Kind = disk::DirectoryItem::Kind;
    std::vector<std::string> paths;
    for (const disk::DirectoryItem& item : disk::list(directory)) {
        std::string path = HUTPathUtils::join(directory, item.name);
        if (item.kind == Kind::File || (item.kind == Kind::Link && isFile(path)))
            paths.push_back(std::move(path));
    }
    std::sort(paths.begin(), paths.end());
    return HUTFileIter(std::move(paths));
}

void HUTFile::ensureWritableDir(const std::string& directory) {
    disk::makeDirectories(directory);
    disk::requireWritable(directory);
}

std::string HUTFile::readFile(const std::string& path) {
    return disk::readAll(disk::open(path, O_RDONLY));
}

void HUTFile::writeFile(const std::string& path, std::string_view bytes) {
    if (path.empty() || path.ends_with('/'))
        throw disk::Failure("Failed to write " + HUTPathUtils::quoted(path), "no file can have this path");
    const auto present = disk::statusIfThere(path);
    if (present && !S_ISREG(present->st_mode))  // a pipe, say, that cannot be replaced
        return disk::write(disk::open(path, O_WRONLY), bytes);
    PendingFile pending(present ? disk::canonical(path) : disk::followLinks(path), present);
    disk::writeAt(pending.file(), 0, bytes);
    disk::sync(pending.file());
    pending.replace();
}
