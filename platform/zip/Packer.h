#pragma once

#include "platform/files/Disk.h"
#include "platform/zip/ArchiveEntry.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/ArchiveWriter.h"
#include "platform/zip/Buffer.h"
#include "platform/zip/DeflatePieces.h"

#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <sys/stat.h>

struct libdeflate_decompressor;

/// Compresses bytes, files and directories into an archive, one at a time, with one compressor and three
/// buffers of a piece (see DeflatePieces). Content that was compressed before is copied, if it is no larger:
/// trees of IP hold many files more than once.
class Packer {
public:
    explicit Packer(ArchiveWriter& writer);
    ~Packer();

    struct SourceFile {
        disk::FileDescriptor file;
        struct stat status;
    };
    /// Opens what addFile can read; throws when it is no file.
    static SourceFile open(const std::string& path);

    void addBytes(std::string_view name, std::string_view bytes, std::time_t modified);
    /// Throws when the file is none, or changes while it is read.
    void addFile(std::string_view name, const std::string& path);
    void addDirectory(std::string_view name, const std::string& path);
    /// Copies the stored bytes of another archive's member, with its name, time and permissions and nothing
    /// else that its entry holds.
    void addMember(const ArchiveSnapshot& archive, const ArchiveEntry& member);

private:
    struct Stored {
        std::uint64_t begin;
        std::uint64_t size;
        ArchiveEntry::Method method;
    };

    /// Up to `size` bytes of content from an offset on, in memory that holds until the next call.
    using Read = std::function<std::string_view(std::uint64_t offset, std::size_t size)>;

    void addWhole(ArchiveEntry entry, std::string_view bytes);
    /// The bytes as they are to be stored; sets the entry's method.
    std::string_view compress(ArchiveEntry& entry, std::string_view bytes);
    /// What the archive holds already of the same bytes; empty when it holds none.
    std::string_view compressedBefore(ArchiveEntry& entry, std::string_view bytes);
    bool inflatesTo(std::string_view bytes, std::string_view stored, ArchiveEntry::Method method);
    void addLarge(ArchiveEntry entry, const Read& read);
    void putDeflated(ArchiveEntry& entry, const Read& read);
    void putStored(ArchiveEntry& entry, const Read& read);

    ArchiveWriter& writer_;
    DeflatePieces pieces_;
    std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor_;
    std::map<std::pair<std::uint64_t, std::uint32_t>, Stored> stored_;  ///< by size and checksum
    Buffer input_;
    Buffer output_;
    Buffer inflated_;
};
