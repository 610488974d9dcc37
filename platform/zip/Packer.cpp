#include "platform/zip/Packer.h"

#include "platform/base/Exceptions.h"
#include "platform/base/HI18N.h"
#include "platform/base/HUTProgress.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/EntryAttributes.h"
#include "platform/zip/ZipFormat.h"

#include <algorithm>
#include <ctime>
#include <new>

#include <fcntl.h>
#include <libdeflate.h>
#include <zlib.h>

namespace {

constexpr mode_t generatedMode = S_IFREG | 0644;

ArchiveEntry entryOf(std::string_view name, mode_t mode, std::time_t modified) {
    constexpr std::uint16_t unixVersion3 = 3 << 8 | 30;
    constexpr std::uint32_t directoryAttribute = 0x10;
    const bool hasNonAscii =
        std::any_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });

    ArchiveEntry entry;
    entry.name = name;
    entry.madeBy = unixVersion3;
    if (hasNonAscii && HI18N::isUtf8(name)) entry.flags = ArchiveEntry::IsUtf8;
    entry.dosTime = entryTime(modified);
    entry.externalAttributes =
        static_cast<std::uint32_t>(mode) << 16 | (S_ISDIR(mode) ? directoryAttribute : 0);
    return entry;
}

ArchiveEntry entryOf(std::string_view name, const struct stat& status) {
    return entryOf(name, entryMode(status.st_mode), status.st_mtim.tv_sec);
}

[[noreturn]] void failChanged(const disk::FileDescriptor& file) {
    throw HEXAlgException(HUTPathUtils::quoted(file.path()) + " changed while it was packed");
}

void requireUnchanged(const disk::FileDescriptor& file, const struct stat& before) {
    const struct stat after = disk::status(file);
    if (after.st_size != before.st_size || after.st_mtim.tv_sec != before.st_mtim.tv_sec ||
        after.st_mtim.tv_nsec != before.st_mtim.tv_nsec)
        failChanged(file);
}

}  // namespace

Packer::Packer(ArchiveWriter& writer)
    : writer_(writer), decompressor_(libdeflate_alloc_decompressor(), &libdeflate_free_decompressor) {
    if (!decompressor_) throw std::bad_alloc();
}

Packer::~Packer() = default;

void Packer::addBytes(std::string_view name, std::string_view bytes, std::time_t modified) {
    ArchiveEntry entry = entryOf(name, generatedMode, modified);
    entry.size = bytes.size();
    if (bytes.size() <= DeflatePieces::pieceSize) return addWhole(entry, bytes);
    addLarge(entry, [&](std::uint64_t offset, std::size_t size) { return bytes.substr(offset, size); });
}

Packer::SourceFile Packer::open(const std::string& path) {
    disk::FileDescriptor file = disk::open(path, O_RDONLY | O_NONBLOCK);
    const struct stat status = disk::status(file);
    if (!S_ISREG(status.st_mode)) throw HEXAlgException(HUTPathUtils::quoted(path) + " is not a file");
    return {std::move(file), status};
}

void Packer::addFile(std::string_view name, const std::string& path) {
    const auto [file, status] = open(path);
    ArchiveEntry entry = entryOf(name, status);
    entry.size = static_cast<std::uint64_t>(status.st_size);
    const Read read = [&, &file = file](std::uint64_t offset, std::size_t size) {
        char* bytes = input_.ofSize(size);
        if (disk::readAt(file, offset, bytes, size) != size) failChanged(file);
        return std::string_view(bytes, size);
    };
    if (entry.size <= DeflatePieces::pieceSize) {
        const std::string_view bytes = read(0, entry.size);
        requireUnchanged(file, status);
        addWhole(entry, bytes);
    } else {
        addLarge(entry, read);
        requireUnchanged(file, status);
    }
}

void Packer::addDirectory(std::string_view name, const std::string& path) {
    const disk::FileDescriptor directory = disk::open(path, O_RDONLY | O_DIRECTORY);
    addWhole(entryOf(name, disk::status(directory)), {});
}

void Packer::addMember(const ArchiveSnapshot& archive, const ArchiveEntry& member) {
    const mode_t usual = member.isDirectory() ? S_IFDIR | 0755 : generatedMode;
    const mode_t mode = member.mode() == 0 ? usual : entryMode(member.mode());
    ArchiveEntry entry = entryOf(member.name, mode, modifiedTime(member.dosTime));
    entry.method = member.method;
    entry.crc = member.crc;
    entry.storedSize = member.storedSize;
    entry.size = member.size;
    const LocalRecord record = archive.localRecord(member, &input_);
    writer_.putHeader(entry);
    if (record.stored == nullptr) {
        writer_.copy(archive.file(), record.data, entry.storedSize);
    } else {
        writer_.put({record.stored, entry.storedSize});
        HUTProgress::advance(entry.storedSize);
    }
    writer_.list(entry);
}

void Packer::addWhole(ArchiveEntry entry, std::string_view bytes) {
    entry.crc = libdeflate_crc32(0, bytes.data(), bytes.size());
    std::string_view content = compressedBefore(entry, bytes);
    if (content.empty()) content = compress(entry, bytes);
    entry.storedSize = content.size();
    writer_.putHeader(entry);
    stored_.try_emplace({entry.size, entry.crc},
                        Stored{writer_.position(), entry.storedSize, ArchiveEntry::Method{entry.method}});
    writer_.put(content);
    writer_.list(entry);
    HUTProgress::advance(bytes.size());
}

std::string_view Packer::compress(ArchiveEntry& entry, std::string_view bytes) {
    const std::string_view deflated = pieces_.whole(bytes, output_);
    entry.method = deflated.empty() ? ArchiveEntry::Stored : ArchiveEntry::Deflated;
    return deflated.empty() ? bytes : deflated;
}

std::string_view Packer::compressedBefore(ArchiveEntry& entry, std::string_view bytes) {
    const auto found = stored_.find({entry.size, entry.crc});
    if (bytes.empty() || found == stored_.end()) return {};
    const Stored& stored = found->second;
    char* content = output_.ofSize(stored.size);
    writer_.readBack(stored.begin, {content, stored.size});
    // Checksums alone prove nothing.
    if (!inflatesTo(bytes, {content, stored.size}, stored.method)) return {};
    entry.method = stored.method;
    return {content, stored.size};
}

bool Packer::inflatesTo(std::string_view bytes, std::string_view stored, ArchiveEntry::Method method) {
    if (method == ArchiveEntry::Stored) return stored == bytes;
    char* inflated = inflated_.ofSize(bytes.size());
    std::size_t size = 0;
    const libdeflate_result result = libdeflate_deflate_decompress(
        decompressor_.get(), stored.data(), stored.size(), inflated, bytes.size(), &size);
    return result == LIBDEFLATE_SUCCESS && std::string_view(inflated, size) == bytes;
}

void Packer::addLarge(ArchiveEntry entry, const Read& read) {
    const std::uint64_t begin = writer_.position();
    writer_.putHeader(entry);
    putDeflated(entry, read);
    if (entry.storedSize >= entry.size) {
        writer_.rewind(begin);
        writer_.putHeader(entry);
        putStored(entry, read);
    }
    writer_.overwrite(begin, zip_format::localHeader(entry));
    writer_.list(entry);
}

void Packer::putDeflated(ArchiveEntry& entry, const Read& read) {
    entry.method = ArchiveEntry::Deflated;
    const std::uint64_t begin = writer_.position();
    for (std::uint64_t done = 0; done < entry.size;) {
        const std::string_view bytes =
            read(done, std::min<std::uint64_t>(DeflatePieces::pieceSize, entry.size - done));
        done += bytes.size();
        const auto crc = static_cast<std::uint32_t>(libdeflate_crc32(0, bytes.data(), bytes.size()));
        entry.crc =
            static_cast<std::uint32_t>(crc32_combine(entry.crc, crc, static_cast<z_off_t>(bytes.size())));
        writer_.put(pieces_.piece(bytes, done == entry.size, output_));
        HUTProgress::advance(bytes.size());
    }
    entry.storedSize = writer_.position() - begin;
}

/// This is far faster than deflating, and no more work that was announced.
void Packer::putStored(ArchiveEntry& entry, const Read& read) {
    entry.method = ArchiveEntry::Stored;
    entry.storedSize = entry.size;
    entry.crc = 0;
    for (std::uint64_t done = 0; done < entry.size;) {
        const std::string_view bytes =
            read(done, std::min<std::uint64_t>(DeflatePieces::pieceSize, entry.size - done));
        entry.crc = libdeflate_crc32(entry.crc, bytes.data(), bytes.size());
        writer_.put(bytes);
        done += bytes.size();
    }
}
