// Reading the members of an archive.

#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/ZipFormat.h"

#include <algorithm>
#include <array>
#include <optional>

#include <libdeflate.h>
#include <zlib.h>

namespace {

/// Members up to this size are inflated at once, which is faster and gives no byte before all are checked.
constexpr std::uint64_t maximumAtOnce = std::uint64_t{16} << 20;

/// Stored bytes of up to this size are read along with the header before them.
constexpr std::uint64_t maximumAlong = std::uint64_t{1} << 20;

/// Deflate gives at most this many bytes for one.
constexpr std::uint64_t maximumExpansion = 1032;

[[noreturn]] void refuse(const ArchiveSnapshot& archive, const ArchiveEntry& entry,
                         const std::string& reason) {
    throw HEXAlgException("Failed to read " + HUTPathUtils::quoted(entry.name) + " of the archive " +
                          HUTPathUtils::quoted(archive.path()) + ": " + reason);
}

void requireChecksum(const ArchiveSnapshot& archive, const ArchiveEntry& entry, std::uint32_t crc) {
    if (crc != entry.crc) refuse(archive, entry, "its checksum differs");
}

libdeflate_decompressor* decompressor() {
    thread_local const std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> instance(
        libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
    if (!instance) throw std::bad_alloc();
    return instance.get();
}

void inflateWhole(const ArchiveSnapshot& archive, const ArchiveEntry& entry, const char* stored,
                  char* bytes) {
    std::size_t used = 0;
    const libdeflate_result result = libdeflate_deflate_decompress_ex(
        decompressor(), stored, entry.storedSize, bytes, entry.size, &used, nullptr);
    if (result == LIBDEFLATE_BAD_DATA) refuse(archive, entry, "its data are damaged");
    if (result != LIBDEFLATE_SUCCESS || used != entry.storedSize)
        refuse(archive, entry, "its data do not have the size that the directory states");
}

/// Fills `bytes` with the whole member, checked. Its stored bytes may have been read along into `stored`.
void readWhole(const ArchiveSnapshot& archive, const ArchiveEntry& entry, const LocalRecord& record,
               char* bytes, Buffer& stored) {
    if (entry.method != ArchiveEntry::Stored) {
        const char* deflated = record.stored;
        if (deflated == nullptr) {
            disk::readExactly(archive.file(), record.data, stored.ofSize(entry.storedSize), entry.storedSize);
            deflated = stored.data();
        }
        inflateWhole(archive, entry, deflated, bytes);
    } else if (record.stored != nullptr) {
        std::copy_n(record.stored, entry.size, bytes);
    } else {
        disk::readExactly(archive.file(), record.data, bytes, entry.storedSize);
    }
    requireChecksum(archive, entry, libdeflate_crc32(0, bytes, entry.size));
}

/// What an entry's own header repeats of the directory.
struct LocalHeader {
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    std::uint32_t crc = 0;
    std::uint64_t storedSize = 0;
    std::uint64_t size = 0;
    std::uint16_t nameSize = 0;
    std::uint16_t extraSize = 0;
    std::string_view name;

    /// The header in front of a name; none without its signature.
    static std::optional<LocalHeader> parse(std::string_view bytes) {
        zip_format::FieldReader fields(bytes);
        if (fields.u32() != zip_format::localSignature) return {};
        LocalHeader header;
        fields.u16();  // version needed
        header.flags = fields.u16();
        header.method = fields.u16();
        fields.u32();  // time
        header.crc = fields.u32();
        header.storedSize = fields.u32();
        header.size = fields.u32();
        header.nameSize = fields.u16();
        header.extraSize = fields.u16();
        header.name = fields.rest();
        return header;
    }

    bool hasLargeSizes() const { return size == zip_format::full32 || storedSize == zip_format::full32; }

    void takeLargeSizes(std::string_view extra) {
        zip_format::FieldReader large(zip_format::extraField(extra, zip_format::zip64Id));
        if (size == zip_format::full32) size = large.u64();
        if (storedSize == zip_format::full32) storedSize = large.u64();
    }

    bool agreesWith(const ArchiveEntry& entry) const {
        const bool isDescribedLater = (flags & ArchiveEntry::HasDescriptor) != 0;
        const auto agree = [&](std::uint64_t local, std::uint64_t central) {
            return local == central || (isDescribedLater && local == 0);
        };
        constexpr int telling = ArchiveEntry::IsEncrypted | ArchiveEntry::HasDescriptor;
        return nameSize == entry.name.size() && name == entry.name && method == entry.method &&
               ((flags ^ entry.flags) & telling) == 0 && agree(crc, entry.crc) && agree(size, entry.size) &&
               agree(storedSize, entry.storedSize);
    }
};

class WholeMember : public MemberStream {
public:
    explicit WholeMember(std::string bytes) : bytes_(std::move(bytes)) {}

    std::size_t read(char* buffer, std::size_t size) override {
        const std::size_t got = bytes_.copy(buffer, size, position_);
        position_ += got;
        return got;
    }

private:
    std::string bytes_;
    std::size_t position_ = 0;
};

/// A member's stored bytes, a buffer at a time.
class StoredBytes {
public:
    StoredBytes(const disk::FileDescriptor& file, const LocalRecord& record)
        : file_(file), position_(record.data), end_(record.end) {}

    /// The next bytes; empty at the end.
    std::string_view next() {
        const std::size_t size = std::min<std::uint64_t>(buffer_.size(), end_ - position_);
        disk::readExactly(file_, position_, buffer_.data(), size);
        position_ += size;
        return {buffer_.data(), size};
    }

private:
    const disk::FileDescriptor& file_;
    std::uint64_t position_;
    std::uint64_t end_;
    std::array<char, std::size_t{1} << 16> buffer_;
};

/// A member too large to hold.
class LargeMember : public MemberStream {
public:
    LargeMember(std::shared_ptr<const ArchiveSnapshot> archive, const ArchiveEntry& entry,
                const LocalRecord& record)
        : archive_(std::move(archive)), entry_(entry), stored_(archive_->file(), record) {
        constexpr int rawDeflate = -15;
        if (inflateInit2(&inflater_, rawDeflate) != Z_OK) throw std::bad_alloc();
    }
    LargeMember(const LargeMember&) = delete;
    LargeMember& operator=(const LargeMember&) = delete;
    ~LargeMember() override { inflateEnd(&inflater_); }

    std::size_t read(char* buffer, std::size_t size) override {
        if (size == 0) return 0;
        const std::size_t got =
            entry_.method == ArchiveEntry::Stored ? copy(buffer, size) : inflate(buffer, size);
        done_ += got;
        crc_ = libdeflate_crc32(crc_, buffer, got);
        if (done_ > entry_.size || (got == 0 && done_ != entry_.size))
            refuse(*archive_, entry_, "its data do not have the size that the directory states");
        if (got == 0) finish();
        return got;
    }

private:
    std::size_t copy(char* buffer, std::size_t size) {
        if (pending_.empty()) pending_ = stored_.next();
        const std::size_t got = pending_.copy(buffer, size);
        pending_.remove_prefix(got);
        return got;
    }

    std::size_t inflate(char* buffer, std::size_t size) {
        inflater_.next_out = reinterpret_cast<Bytef*>(buffer);
        const auto room = static_cast<uInt>(std::min<std::size_t>(size, std::size_t{1} << 30));
        inflater_.avail_out = room;
        while (!isInflated_ && inflater_.avail_out == room) {
            if (pending_.empty()) pending_ = stored_.next();
            inflateStep();
        }
        return room - inflater_.avail_out;
    }

    void inflateStep() {
        inflater_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(pending_.data()));
        inflater_.avail_in = static_cast<uInt>(pending_.size());
        const int result = ::inflate(&inflater_, Z_NO_FLUSH);
        // Z_BUF_ERROR: the data ended before the stream did.
        if (result != Z_OK && result != Z_STREAM_END) refuse(*archive_, entry_, "its data are damaged");
        pending_.remove_prefix(pending_.size() - inflater_.avail_in);
        isInflated_ = result == Z_STREAM_END;
    }

    void finish() {
        if (!pending_.empty() || !stored_.next().empty())
            refuse(*archive_, entry_, "its data do not have the size that the directory states");
        requireChecksum(*archive_, entry_, crc_);
    }

    std::shared_ptr<const ArchiveSnapshot> archive_;
    const ArchiveEntry& entry_;
    StoredBytes stored_;
    std::string_view pending_;
    z_stream inflater_{};
    std::uint64_t done_ = 0;
    std::uint32_t crc_ = 0;
    bool isInflated_ = false;
};

}  // namespace

LocalRecord ArchiveSnapshot::localRecord(const ArchiveEntry& entry, Buffer* along) const {
    constexpr std::size_t usualExtra = 64;
    const std::size_t headerSize = zip_format::localSize + entry.name.size();
    const bool readsAlong = along != nullptr && entry.storedSize <= maximumAlong;
    const std::size_t size = readsAlong ? headerSize + usualExtra + entry.storedSize : headerSize;
    Buffer alone;
    char* bytes = (readsAlong ? *along : alone).ofSize(size);
    const std::size_t got = disk::readAt(file_, entry.offset, bytes, size);
    if (got < headerSize) refuse(*this, entry, "the archive became shorter");
    std::optional<LocalHeader> header = LocalHeader::parse({bytes, headerSize});
    if (!header) refuse(*this, entry, "its header is damaged");

    LocalRecord record{entry.offset, entry.offset + headerSize + header->extraSize, 0};
    record.end = record.data + entry.storedSize;
    if (record.end > directoryOffset()) refuse(*this, entry, "its data lie outside the file");
    if (header->hasLargeSizes()) {
        std::string extra(header->extraSize, '\0');
        disk::readAt(file_, entry.offset + headerSize, extra.data(), extra.size());
        header->takeLargeSizes(extra);
    }
    if (!header->agreesWith(entry)) refuse(*this, entry, "its header contradicts the directory");
    if (readsAlong && record.end - record.begin <= got) record.stored = bytes + (record.data - record.begin);
    return record;
}

void ArchiveSnapshot::requireReadable(const ArchiveEntry& entry) const {
    if ((entry.flags & ArchiveEntry::IsEncrypted) != 0) refuse(*this, entry, "it is encrypted");
    if (entry.method != ArchiveEntry::Stored && entry.method != ArchiveEntry::Deflated)
        refuse(*this, entry, "its compression method " + std::to_string(entry.method) + " is unknown");
    const bool isPossible = entry.method == ArchiveEntry::Stored
                                ? entry.size == entry.storedSize
                                : entry.size / maximumExpansion <= entry.storedSize;
    if (!isPossible) refuse(*this, entry, "it states a size that its data cannot have");
}

std::string ArchiveSnapshot::read(const ArchiveEntry& entry) const {
    requireReadable(entry);
    if (entry.size > maximumWhole || entry.storedSize > maximumWhole)
        refuse(*this, entry, "it is too large to be held in memory");
    std::string bytes(entry.size, '\0');
    Buffer stored;
    readWhole(*this, entry, localRecord(entry, &stored), bytes.data(), stored);
    return bytes;
}

std::string ArchiveSnapshot::read(std::string_view name) const {
    const ArchiveEntry* entry = find(name);
    if (entry == nullptr)
        throw HEXAlgException("The archive " + HUTPathUtils::quoted(path()) + " holds no " +
                              HUTPathUtils::quoted(name));
    return read(*entry);
}

std::unique_ptr<MemberStream> ArchiveSnapshot::stream(const ArchiveEntry& entry) const {
    requireReadable(entry);
    if (entry.size <= maximumAtOnce && entry.storedSize <= maximumAtOnce)
        return std::make_unique<WholeMember>(read(entry));
    return std::make_unique<LargeMember>(shared_from_this(), entry, localRecord(entry));
}

void ArchiveSnapshot::pass(const ArchiveEntry& entry, const LocalRecord& record, MemberBuffers& buffers,
                           const std::function<void(std::string_view piece)>& use) const {
    requireReadable(entry);
    if (entry.size <= maximumAtOnce && entry.storedSize <= maximumAtOnce) {
        char* bytes = buffers.bytes.ofSize(entry.size);
        readWhole(*this, entry, record, bytes, buffers.stored);
        return use({bytes, entry.size});
    }
    constexpr std::size_t pieceSize = std::size_t{1} << 18;
    char* piece = buffers.bytes.ofSize(pieceSize);
    LargeMember member(shared_from_this(), entry, record);
    while (const std::size_t got = member.read(piece, pieceSize))
        use({piece, got});
}
