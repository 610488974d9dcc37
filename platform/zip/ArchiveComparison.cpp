#include "platform/zip/ArchiveComparison.h"

#include "platform/base/HUTInterrupt.h"
#include "platform/files/DirectoryTree.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>

#include <fcntl.h>

bool isCopy(const std::string& path, const ArchiveSnapshot& archive, const ArchiveEntry& entry) {
    const disk::FileDescriptor file = disk::openIfThere(path, O_RDONLY | O_NONBLOCK);
    if (!file.isOpen()) return false;
    const struct stat status = disk::status(file);
    if (!S_ISREG(status.st_mode) || static_cast<std::uint64_t>(status.st_size) != entry.size) return false;
    constexpr std::size_t pieceSize = std::size_t{1} << 16;
    Buffer expected, found;
    const auto member = archive.stream(entry);
    for (std::uint64_t done = 0;;) {
        HUTInterrupt::check();
        const std::size_t size = member->read(expected.ofSize(pieceSize), pieceSize);
        if (size == 0) return true;
        if (disk::readAt(file, done, found.ofSize(size), size) != size) return false;
        if (!std::equal(found.data(), found.data() + size, expected.data())) return false;
        done += size;
    }
}

bool isCopy(const std::string& directory, const ArchiveSnapshot& archive, std::string_view folder) {
    std::size_t files = 0;
    for (const TreeItem& item : DirectoryTree::walk(directory)) {
        if (item.isDirectory) continue;
        const ArchiveEntry* entry = archive.find(HUTPathUtils::join(folder, item.name));
        if (entry == nullptr || !isCopy(HUTPathUtils::join(directory, item.name), archive, *entry))
            return false;
        ++files;
    }
    const auto inFolder = archive.positionsInFolder(folder);
    return files == static_cast<std::size_t>(std::count_if(
                        inFolder.begin(), inFolder.end(),
                        [&](std::uint32_t position) { return !archive.entries()[position].isDirectory(); }));
}
