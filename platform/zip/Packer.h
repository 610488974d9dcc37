#pragma once

#include "platform/files/Disk.h"
#include "platform/zip/ArchiveEntry.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/ArchiveWriter.h"
#include "platform/zip/Buffer.h"

#include <cstdint>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <sys/stat.h>

struct libdeflate_compressor;
struct libdeflate_decompressor;

/// Compresses bytes, files and directories into an archive, one at a time, with one compressor and three
/// buffers. Content that was compressed before is copied: trees of IP hold many files more than once.
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

    void addWhole(ArchiveEntry entry, std::string_view bytes);
    /// The bytes as they are to be stored; sets the entry's method.
    std::string_view compress(ArchiveEntry& entry, std::string_view bytes);
    /// What the archive holds already of the same bytes; empty when it holds none.
    std::string_view compressedBefore(ArchiveEntry& entry, std::string_view bytes);
    bool inflatesTo(std::string_view bytes, std::string_view stored, ArchiveEntry::Method method);
    void addLarge(ArchiveEntry entry, const disk::FileDescriptor& file);
    /// Puts the file's bytes by the entry's method and fills in the checksum and the stored size.
    void putContent(ArchiveEntry& entry, const disk::FileDescriptor& file);

    ArchiveWriter& writer_;
    std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> compressor_;
    std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor_;
    std::map<std::pair<std::uint64_t, std::uint32_t>, Stored> stored_;  ///< by size and checksum
    Buffer input_;
    Buffer output_;
    Buffer inflated_;
};
