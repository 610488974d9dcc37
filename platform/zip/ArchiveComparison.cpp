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

namespace {

/// Whether the same bytes are stored the same way.
bool isStoredAlike(const ArchiveSnapshot& archive, const ArchiveEntry& entry, const ArchiveSnapshot& other,
                   const ArchiveEntry& otherEntry) {
    if (entry.method != otherEntry.method || entry.storedSize != otherEntry.storedSize) return false;
    constexpr std::uint64_t pieceSize = std::uint64_t{1} << 18;
    const std::uint64_t begin = archive.localRecord(entry).data;
    const std::uint64_t otherBegin = other.localRecord(otherEntry).data;
    Buffer piece, otherPiece;
    for (std::uint64_t done = 0; done < entry.storedSize;) {
        HUTInterrupt::check();
        const std::uint64_t size = std::min(pieceSize, entry.storedSize - done);
        disk::readExactly(archive.file(), begin + done, piece.ofSize(size), size);
        disk::readExactly(other.file(), otherBegin + done, otherPiece.ofSize(size), size);
        if (!std::equal(piece.data(), piece.data() + size, otherPiece.data())) return false;
        done += size;
    }
    return true;
}

/// Fills the buffer, unless the member ends before.
std::size_t readFully(MemberStream& member, char* buffer, std::size_t size) {
    std::size_t done = 0;
    while (const std::size_t got = done < size ? member.read(buffer + done, size - done) : 0)
        done += got;
    return done;
}

}  // namespace

bool isCopy(const ArchiveSnapshot& archive, const ArchiveEntry& entry, const ArchiveSnapshot& other,
            const ArchiveEntry& otherEntry) {
    if (entry.size != otherEntry.size || entry.crc != otherEntry.crc) return false;
    if (isStoredAlike(archive, entry, other, otherEntry)) return true;
    constexpr std::size_t pieceSize = std::size_t{1} << 18;
    Buffer piece, otherPiece;
    const auto member = archive.stream(entry);
    const auto otherMember = other.stream(otherEntry);
    for (;;) {
        HUTInterrupt::check();
        const std::size_t size = readFully(*member, piece.ofSize(pieceSize), pieceSize);
        const std::size_t otherSize = readFully(*otherMember, otherPiece.ofSize(pieceSize), pieceSize);
        if (size != otherSize || !std::equal(piece.data(), piece.data() + size, otherPiece.data()))
            return false;
        if (size == 0) return true;
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
