#pragma once

#include "platform/files/Disk.h"
#include "platform/zip/ArchiveEntry.h"

#include <cstdint>
#include <string>
#include <vector>

/// What the directory of an archive says. The entries' texts belong to `bytes`.
struct ArchiveDirectory {
    std::string bytes;
    std::string comment;
    std::vector<ArchiveEntry> entries;
    std::uint64_t offset = 0;            ///< of the directory, behind all entries
    std::uint64_t endRecordsOffset = 0;  ///< of what follows the directory
    std::uint64_t digestEnd = 0;         ///< of the comment's length, the last field before the comment
};

/// Reads an archive's directory with every number checked. Throws HEXAlgException for what is not an archive,
/// and for one whose parts lie outside the file or contradict each other.
ArchiveDirectory readArchiveDirectory(const disk::FileDescriptor& file, std::uint64_t fileSize);

/// That an archive which was written to a file, to become the one at `path`, can be read as one; else throws
/// HEXAlgException. A name or the content of a file may look like the records that end an archive.
void requireReadableArchive(const disk::FileDescriptor& file, std::uint64_t fileSize,
                            const std::string& path);
