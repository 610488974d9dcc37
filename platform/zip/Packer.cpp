#include "platform/zip/Packer.h"

#include "platform/base/Exceptions.h"
#include "platform/base/HI18N.h"
#include "platform/base/HUTProgress.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/DeflatePieces.h"
#include "platform/zip/EntryAttributes.h"
#include "platform/zip/ZipFormat.h"

#include <algorithm>
#include <utility>

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

}  // namespace

/// Content that is to be packed. Any thread may read it.
class Packer::Source {
public:
    virtual ~Source() = default;
    virtual std::uint64_t size() const = 0;
    /// The bytes may be in `memory`.
    virtual std::string_view read(std::uint64_t offset, std::size_t size, Buffer& memory) const = 0;
    virtual void requireUnchanged() const {}
};

class Packer::GivenBytes : public Source {
public:
    explicit GivenBytes(std::string_view bytes) : bytes_(bytes) {}

    std::uint64_t size() const override { return bytes_.size(); }
    std::string_view read(std::uint64_t offset, std::size_t size, Buffer&) const override {
        return bytes_.substr(offset, size);
    }

private:
    std::string_view bytes_;
};

class Packer::SourceFile : public Source {
public:
    explicit SourceFile(const std::string& path)
        : file_(disk::open(path, O_RDONLY | O_NONBLOCK)), status_(disk::status(file_)) {
        if (!S_ISREG(status_.st_mode)) throw HEXAlgException(HUTPathUtils::quoted(path) + " is not a file");
    }

    const struct stat& status() const { return status_; }
    std::uint64_t size() const override { return static_cast<std::uint64_t>(status_.st_size); }
    std::string_view read(std::uint64_t offset, std::size_t size, Buffer& memory) const override {
        char* bytes = memory.ofSize(size);
        if (disk::readAt(file_, offset, bytes, size) != size) failChanged();
        return {bytes, size};
    }
    void requireUnchanged() const override {
        const struct stat now = disk::status(file_);
        if (now.st_size != status_.st_size || now.st_mtim.tv_sec != status_.st_mtim.tv_sec ||
            now.st_mtim.tv_nsec != status_.st_mtim.tv_nsec)
            failChanged();
    }

private:
    [[noreturn]] void failChanged() const {
        throw HEXAlgException(HUTPathUtils::quoted(file_.path()) + " changed while it was packed");
    }

    disk::FileDescriptor file_;
    struct stat status_;
};

/// What a thread keeps from one content to the next.
struct Packer::Tools {
    DeflatePieces pieces;
    Inflater inflater;
    Buffer input;
};

/// Content as it is to be stored.
struct Packer::Content {
    PackedContents::Key key;
    PackedContents::Stored stored;
    Buffer memory;  ///< may have the stored bytes
};

/// A member that is put piece by piece.
struct Packer::LargeMember {
    ArchiveEntry entry;
    std::shared_ptr<const Source> source;
    std::uint64_t begin = 0;  ///< of its stored bytes
    std::vector<std::pair<PackedContents::Key, PackedContents::Place>> pieces = {};
};

Packer::Packer(ArchiveWriter& writer, std::size_t jobs)
    : writer_(writer), contents_(writer), tools_(jobs), work_(jobs) {}

Packer::~Packer() = default;

void Packer::requireFile(const std::string& path) {
    const SourceFile file(path);
}

void Packer::addBytes(std::string_view name, std::string_view bytes, std::time_t modified) {
    add(entryOf(name, generatedMode, modified), std::make_shared<GivenBytes>(bytes));
}

void Packer::addFile(std::string_view name, const std::string& path) {
    const auto file = std::make_shared<SourceFile>(path);
    add(entryOf(name, file->status()), file);
}

void Packer::addDirectory(std::string_view name, const std::string& path) {
    const disk::FileDescriptor directory = disk::open(path, O_RDONLY | O_DIRECTORY);
    work_.add(0, {}, [this, entry = entryOf(name, disk::status(directory))] { putWhole(entry, Content()); });
}

void Packer::addMember(const ArchiveSnapshot& archive, const ArchiveEntry& member) {
    work_.add(0, {}, [this, &archive, &member] { copy(archive, member); });
}

void Packer::add(const ArchiveEntry& entry, const std::shared_ptr<const Source>& source) {
    source->size() <= DeflatePieces::pieceSize ? addWhole(entry, source) : addPieces(entry, source);
}

void Packer::addWhole(const ArchiveEntry& entry, const std::shared_ptr<const Source>& source) {
    const auto content = std::make_shared<Content>();
    const std::uint64_t size = source->size();
    work_.add(
        size,
        [this, source, content, size](std::size_t worker) {
            *content = pack(toolsOf(worker), *source, 0, {size, 0, PackedContents::Form::Whole});
            source->requireUnchanged();
        },
        [this, entry, content] { putWhole(entry, *content); });
}

void Packer::addPieces(const ArchiveEntry& entry, const std::shared_ptr<const Source>& source) {
    const auto member = std::make_shared<LargeMember>(LargeMember{entry, source});
    member->entry.size = source->size();
    member->entry.method = ArchiveEntry::Deflated;
    work_.add(0, {}, [this, member] {
        writer_.putUnfinishedHeader(member->entry);
        member->begin = writer_.position();
    });
    for (std::uint64_t offset = 0, size = 0; offset < source->size(); offset += size) {
        size = std::min<std::uint64_t>(DeflatePieces::pieceSize, source->size() - offset);
        const bool isLast = offset + size == source->size();
        const auto form = isLast ? PackedContents::Form::LastPiece : PackedContents::Form::Piece;
        const auto content = std::make_shared<Content>();
        work_.add(
            size,
            [this, source, content, offset, size, form](std::size_t worker) {
                *content = pack(toolsOf(worker), *source, offset, {size, 0, form});
            },
            [this, member, content] { putPiece(*member, *content); });
    }
    work_.add(0, {}, [this, member] { finish(*member); });
}

Packer::Tools& Packer::toolsOf(std::size_t worker) {
    if (!tools_[worker]) tools_[worker] = std::make_unique<Tools>();
    return *tools_[worker];
}

/// Packs as much content as the key says, whose checksum is not known yet.
Packer::Content Packer::pack(Tools& tools, const Source& source, std::uint64_t offset,
                             PackedContents::Key key) const {
    const std::string_view bytes = source.read(offset, key.size, tools.input);
    key.crc = libdeflate_crc32(0, bytes.data(), bytes.size());
    Content content{key, {bytes, ArchiveEntry::Stored}, {}};
    if (const auto found = contents_.find(key, bytes, tools.inflater, content.memory)) {
        content.stored = *found;
    } else if (key.form != PackedContents::Form::Whole) {
        const bool isLast = key.form == PackedContents::Form::LastPiece;
        content.stored = {tools.pieces.piece(bytes, isLast, content.memory), ArchiveEntry::Deflated};
    } else if (const auto deflated = tools.pieces.whole(bytes, content.memory); !deflated.empty()) {
        content.stored = {deflated, ArchiveEntry::Deflated};
    } else {
        content.memory = std::move(tools.input);
    }
    return content;
}

void Packer::putWhole(ArchiveEntry entry, const Content& content) {
    const auto& [bytes, method] = content.stored;
    entry.size = content.key.size;
    entry.crc = content.key.crc;
    entry.method = method;
    entry.storedSize = bytes.size();
    writer_.putHeader(entry);
    const std::uint64_t begin = writer_.position();
    writer_.put(bytes);
    writer_.list(entry);
    contents_.add(content.key, {begin, bytes.size(), method});
    HUTProgress::advance(entry.size);
}

void Packer::putPiece(LargeMember& member, const Content& content) {
    const auto& [bytes, method] = content.stored;
    const auto size = static_cast<z_off_t>(content.key.size);
    member.entry.crc = static_cast<std::uint32_t>(crc32_combine(member.entry.crc, content.key.crc, size));
    member.pieces.push_back({content.key, {writer_.position(), bytes.size(), method}});
    writer_.put(bytes);
    HUTProgress::advance(content.key.size);
}

void Packer::finish(LargeMember& member) {
    ArchiveEntry& entry = member.entry;
    entry.storedSize = writer_.position() - member.begin;
    if (entry.storedSize < entry.size) {
        for (const auto& [key, place] : member.pieces)
            contents_.add(key, place);
    } else {
        store(member);
    }
    member.source->requireUnchanged();
    writer_.overwrite(entry.offset, zip_format::localHeader(entry));
    writer_.list(entry);
}

/// In place of what is deflated to no less. That is far faster than deflating, and no more work that was
/// announced.
void Packer::store(LargeMember& member) {
    ArchiveEntry& entry = member.entry;
    writer_.rewind(member.begin);
    entry.method = ArchiveEntry::Stored;
    entry.storedSize = entry.size;
    entry.crc = 0;
    Buffer& memory = toolsOf(0).input;
    for (std::uint64_t done = 0; done < entry.size;) {
        const std::size_t size = std::min<std::uint64_t>(DeflatePieces::pieceSize, entry.size - done);
        const std::string_view bytes = member.source->read(done, size, memory);
        entry.crc = libdeflate_crc32(entry.crc, bytes.data(), bytes.size());
        writer_.put(bytes);
        done += bytes.size();
    }
}

void Packer::copy(const ArchiveSnapshot& archive, const ArchiveEntry& member) {
    const mode_t usual = member.isDirectory() ? S_IFDIR | 0755 : generatedMode;
    const mode_t mode = member.mode() == 0 ? usual : entryMode(member.mode());
    ArchiveEntry entry = entryOf(member.name, mode, modifiedTime(member.dosTime));
    entry.method = member.method;
    entry.crc = member.crc;
    entry.storedSize = member.storedSize;
    entry.size = member.size;
    const LocalRecord record = archive.localRecord(member, &copied_);
    writer_.putHeader(entry);
    if (record.stored == nullptr) {
        writer_.copy(archive.file(), record.data, entry.storedSize);
    } else {
        writer_.put({record.stored, entry.storedSize});
        HUTProgress::advance(entry.storedSize);
    }
    writer_.list(entry);
}
