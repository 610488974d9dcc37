#pragma once

#include "platform/base/Export.h"
#include "platform/files/Disk.h"
#include "platform/zip/ArchiveDigest.h"
#include "platform/zip/ArchiveEntry.h"
#include "platform/zip/ArchiveReader.h"
#include "platform/zip/Buffer.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class MemberStream;

/// A flaw of an archive that reading its directory alone does not refuse.
struct KP_EXPORT ArchiveFinding {
    enum class Code {
        DuplicateName,     ///< two entries of one name
        FileAndFolder,     ///< a file whose name other entries use as a folder's
        OverlappingEntry,  ///< an entry's bytes belong to another entry as well
        HeaderMismatch,    ///< the entry's own header is none or contradicts the directory
        BadData,           ///< the data do not inflate to the size and checksum that the directory states
        UnsafeName,        ///< a name that would lead out of a directory
        UnaccountedBytes,  ///< bytes of the file that belong to nothing
        UnknownMethod,     ///< neither stored nor deflated
        Encrypted,
        Unextractable,  ///< what else an extraction refuses, such as a symbolic link
    };

    Code code;
    std::string member;  ///< empty where the flaw is of the archive as a whole
    std::string text;    ///< a sentence that names the member
};

/// Memory for reading one member after the other.
struct MemberBuffers {
    Buffer stored;
    Buffer bytes;
};

/// An immutable view of one version of an archive: its entries in archive order, lookup, and reading members.
/// Lookup is for the thread that opened it alone, for it shares that with others of the version. Failures are
/// HEXAlgException and name the archive and the member.
class KP_EXPORT ArchiveSnapshot : public std::enable_shared_from_this<ArchiveSnapshot> {
public:
    /// The archive as it is now; the file stays open for as long as this is used. Its directory is read once
    /// as long as the file is unchanged: a thread keeps the directories of the last few. Throws when there is
    /// no file or it is not a readable archive.
    static std::shared_ptr<const ArchiveSnapshot> open(const std::string& path);

    ~ArchiveSnapshot();
    ArchiveSnapshot(const ArchiveSnapshot&) = delete;
    ArchiveSnapshot& operator=(const ArchiveSnapshot&) = delete;

    const std::string& path() const { return file_.path(); }
    const std::vector<ArchiveEntry>& entries() const { return listing_->directory.entries; }
    std::string_view comment() const { return listing_->directory.comment; }
    /// The sum of the sizes that the directory states.
    std::uint64_t contentSize() const;

    /// The entry of this exact name ("x/" for a directory), or none. Throws when two have the name.
    const ArchiveEntry* find(std::string_view name) const;
    /// Whether there is a directory of this name: an entry of its own, or only other entries below it. The
    /// empty name and "." are the archive's top, which is always there.
    bool isDirectory(std::string_view name) const;

    /// Positions in entries() of all entries of this exact name, ascending.
    std::span<const std::uint32_t> positionsNamed(std::string_view name) const;
    /// Positions of the folder's own entry and of all entries below it, by name.
    std::span<const std::uint32_t> positionsInFolder(std::string_view folder) const;

    /// Files (not directories) whose last path component is `name`, in archive order.
    const std::vector<const ArchiveEntry*>& filesWithLastComponent(std::string_view name) const;
    /// The first of them that has `component` among the components of its path, the last one included; or
    /// none.
    const ArchiveEntry* firstFileWith(std::string_view lastComponent, std::string_view component) const;
    /// Files whose name begins with `prefix` without regard to case, in archive order.
    std::vector<const ArchiveEntry*> filesWithPrefix(std::string_view prefix) const;

    /// The largest member that read() holds in memory at once.
    static constexpr std::uint64_t maximumWhole = std::uint64_t{1} << 30;

    /// Throws when the entry is encrypted, has an unknown method, or states a size that its stored bytes
    /// cannot inflate to.
    void requireReadable(const ArchiveEntry& entry) const;
    /// The whole member; its header, size and checksum hold.
    std::string read(const ArchiveEntry& entry) const;
    /// As read, of the member of a name; throws when there is none.
    std::string read(std::string_view name) const;
    /// The member's bytes piece by piece, for members of any size.
    std::unique_ptr<MemberStream> stream(const ArchiveEntry& entry) const;
    /// Passes the member's bytes on: up to 16 MiB in one piece that is checked before; larger ones in pieces,
    /// which may prove wrong after the last of them.
    void pass(const ArchiveEntry& entry, const LocalRecord& record, MemberBuffers& buffers,
              const std::function<void(std::string_view piece)>& use) const;

    /// The entry's own header, checked against the directory: where the member's stored bytes begin. Those of
    /// a small member are read along into `along`, if it is given.
    LocalRecord localRecord(const ArchiveEntry& entry, Buffer* along = nullptr) const;

    /// Everything wrong with the archive that open() accepts, one kind of check after the other. Reads all
    /// data. So many `jobs`, the calling thread among them, may take part, each with up to 32 MiB of memory;
    /// one of them does what is to be done `beside`, if anything is.
    std::vector<ArchiveFinding> check(std::size_t jobs = 1, const std::function<void()>& beside = {}) const;

    /// The open file, for copying stored bytes.
    const disk::FileDescriptor& file() const { return file_; }
    /// Where the central directory begins and where the archive ends without its comment's length and text.
    std::uint64_t directoryOffset() const { return listing_->directory.offset; }
    std::uint64_t digestEnd() const { return listing_->directory.digestEnd; }
    /// Whether the path still leads to this version of the file.
    bool isCurrent() const;
    /// Throws when this version was written over. That another one took its place does not matter.
    void requireUntouched() const;

    /// Looks whether the archive's comment is the digest of this label, and verifies it.
    DigestVerdict checkDigest(ArchiveDigest::Label label) const;
    /// What the bytes before `position` hash to.
    struct HashedPrefix {
        std::uint64_t position = 0;
        ArchiveDigest digest;
    };
    /// Known once the digest was checked, so that an edit that leaves those bytes alone need not hash again.
    const std::optional<HashedPrefix>& hashedPrefix() const { return hashedPrefix_; }

private:
    struct Folded {
        std::string name;
        std::uint32_t position;
    };
    using FirstByComponent = std::unordered_map<std::string_view, const ArchiveEntry*>;

    /// The directory of a version, and what was found out from it. Snapshots of the version share it.
    struct Listing {
        struct stat version {};
        bool isSettled = false;  ///< the file's times tell this version from any later one
        ArchiveDirectory directory;
        std::vector<std::uint32_t> byName;
        std::vector<Folded> byFoldedName;
        std::unordered_map<std::string_view, std::vector<const ArchiveEntry*>> byLastComponent;
        std::unordered_map<std::string, FirstByComponent> byComponent;
    };

    explicit ArchiveSnapshot(const std::string& path);
    static std::shared_ptr<Listing> listingOf(const disk::FileDescriptor& file);
    const std::vector<std::uint32_t>& byName() const;
    std::span<const std::uint32_t> positionsStartingWith(std::string_view prefix) const;

    disk::FileDescriptor file_;
    std::shared_ptr<Listing> listing_;
    mutable std::optional<HashedPrefix> hashedPrefix_;
};

/// The bytes of one member, in order. Keeps its snapshot.
class KP_EXPORT MemberStream {
public:
    virtual ~MemberStream() = default;
    /// Reads up to `size` bytes; 0 only at the member's end, where size and checksum are checked.
    virtual std::size_t read(char* buffer, std::size_t size) = 0;
};
