#pragma once

#include "platform/files/Disk.h"
#include "platform/zip/ArchiveEntry.h"
#include "platform/zip/ArchiveWriter.h"
#include "platform/zip/Buffer.h"

#include <memory>
#include <string>
#include <string_view>

#include <sys/stat.h>

struct libdeflate_compressor;

/// Compresses bytes, files and directories into an archive, one at a time, with one compressor and two
/// buffers.
class Packer {
public:
    explicit Packer(ArchiveWriter& writer);
    ~Packer();

    void addBytes(std::string_view name, std::string_view bytes);
    /// Throws when the file is none, or changes while it is read.
    void addFile(std::string_view name, const std::string& path);
    void addDirectory(std::string_view name, const std::string& path);

private:
    void addWhole(ArchiveEntry entry, std::string_view bytes);
    void addLarge(ArchiveEntry entry, const disk::FileDescriptor& file);
    /// Puts the file's bytes by the entry's method and fills in the checksum and the stored size.
    void putContent(ArchiveEntry& entry, const disk::FileDescriptor& file);

    ArchiveWriter& writer_;
    std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> compressor_;
    Buffer input_;
    Buffer output_;
};
