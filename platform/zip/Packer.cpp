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

constexpr int level = 6;
constexpr std::uint64_t maximumAtOnce = std::uint64_t{64} << 20;
constexpr std::size_t chunkSize = std::size_t{1} << 18;

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

void requireUnchanged(const disk::FileDescriptor& file, const struct stat& before, std::uint64_t bytesRead) {
    const struct stat after = disk::status(file);
    if (bytesRead != static_cast<std::uint64_t>(before.st_size) || after.st_size != before.st_size ||
        after.st_mtim.tv_sec != before.st_mtim.tv_sec || after.st_mtim.tv_nsec != before.st_mtim.tv_nsec)
        throw HEXAlgException(HUTPathUtils::quoted(file.path()) + " changed while it was packed");
}

/// Takes bytes piece by piece and puts them, deflated or as they are, into an archive.
class ContentWriter {
public:
    ContentWriter(ArchiveWriter& writer, bool deflates, char* buffer, std::size_t bufferSize)
        : writer_(writer), deflates_(deflates), buffer_(buffer), bufferSize_(bufferSize) {
        constexpr int rawDeflate = -15;
        constexpr int memoryLevel = 8;
        if (deflates &&
            deflateInit2(&stream_, level, Z_DEFLATED, rawDeflate, memoryLevel, Z_DEFAULT_STRATEGY) != Z_OK)
            throw std::bad_alloc();
    }
    ContentWriter(const ContentWriter&) = delete;
    ContentWriter& operator=(const ContentWriter&) = delete;
    ~ContentWriter() {
        if (deflates_) deflateEnd(&stream_);
    }

    void put(std::string_view bytes) { deflates_ ? deflateAll(bytes, Z_NO_FLUSH) : writer_.put(bytes); }
    void finish() {
        if (deflates_) deflateAll({}, Z_FINISH);
    }

private:
    void deflateAll(std::string_view bytes, int flush) {
        stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
        stream_.avail_in = static_cast<uInt>(bytes.size());
        do {
            stream_.next_out = reinterpret_cast<Bytef*>(buffer_);
            stream_.avail_out = static_cast<uInt>(bufferSize_);
            deflate(&stream_, flush);
            writer_.put({buffer_, bufferSize_ - stream_.avail_out});
        } while (stream_.avail_out == 0);
    }

    ArchiveWriter& writer_;
    bool deflates_;
    char* buffer_;
    std::size_t bufferSize_;
    z_stream stream_{};
};

}  // namespace

Packer::Packer(ArchiveWriter& writer)
    : writer_(writer),
      compressor_(libdeflate_alloc_compressor(level), &libdeflate_free_compressor),
      decompressor_(libdeflate_alloc_decompressor(), &libdeflate_free_decompressor) {
    if (!compressor_ || !decompressor_) throw std::bad_alloc();
}

Packer::~Packer() = default;

void Packer::addBytes(std::string_view name, std::string_view bytes, std::time_t modified) {
    addWhole(entryOf(name, generatedMode, modified), bytes);
}

Packer::SourceFile Packer::open(const std::string& path) {
    disk::FileDescriptor file = disk::open(path, O_RDONLY | O_NONBLOCK);
    const struct stat status = disk::status(file);
    if (!S_ISREG(status.st_mode)) throw HEXAlgException(HUTPathUtils::quoted(path) + " is not a file");
    return {std::move(file), status};
}

void Packer::addFile(std::string_view name, const std::string& path) {
    const auto [file, status] = open(path);
    const auto size = static_cast<std::uint64_t>(status.st_size);
    ArchiveEntry entry = entryOf(name, status);
    entry.size = size;
    if (size > maximumAtOnce) {
        addLarge(entry, file);
        requireUnchanged(file, status, size);
    } else {
        char* bytes = input_.ofSize(size);
        const std::size_t got = disk::readAt(file, 0, bytes, size);
        requireUnchanged(file, status, got);
        addWhole(entry, {bytes, got});
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
    entry.size = bytes.size();
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
    // Deflated data that does not fit where the bytes themselves would is not wanted.
    const std::size_t room = bytes.empty() ? 0 : bytes.size() - 1;
    const std::size_t deflatedSize = libdeflate_deflate_compress(compressor_.get(), bytes.data(),
                                                                 bytes.size(), output_.ofSize(room), room);
    entry.method = deflatedSize == 0 ? ArchiveEntry::Stored : ArchiveEntry::Deflated;
    return deflatedSize == 0 ? bytes : std::string_view(output_.data(), deflatedSize);
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

void Packer::addLarge(ArchiveEntry entry, const disk::FileDescriptor& file) {
    const std::uint64_t begin = writer_.position();
    for (const auto method : {ArchiveEntry::Deflated, ArchiveEntry::Stored}) {
        writer_.rewind(begin);
        entry.method = method;
        writer_.putHeader(entry);
        putContent(entry, file);
        if (entry.storedSize < entry.size) break;
    }
    writer_.overwrite(begin, zip_format::localHeader(entry));
    writer_.list(entry);
}

void Packer::putContent(ArchiveEntry& entry, const disk::FileDescriptor& file) {
    const std::uint64_t begin = writer_.position();
    char* input = input_.ofSize(chunkSize);
    ContentWriter content(writer_, entry.method == ArchiveEntry::Deflated, output_.ofSize(chunkSize),
                          chunkSize);
    entry.crc = 0;
    for (std::uint64_t done = 0; done < entry.size;) {
        const std::size_t got =
            disk::readAt(file, done, input, std::min<std::uint64_t>(chunkSize, entry.size - done));
        if (got == 0)
            throw HEXAlgException(HUTPathUtils::quoted(file.path()) + " changed while it was packed");
        entry.crc = libdeflate_crc32(entry.crc, input, got);
        content.put({input, got});
        done += got;
        // The second attempt is far faster than the first and no more work that was announced.
        if (entry.method == ArchiveEntry::Deflated) HUTProgress::advance(got);
    }
    content.finish();
    entry.storedSize = writer_.position() - begin;
}
