#pragma once

#include "platform/base/Export.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <string>
#include <string_view>

/// Whether the file at the path holds the member's bytes and no others. What is no file does not. Throws
/// HEXAlgException when one of them cannot be read.
KP_EXPORT bool isCopy(const std::string& path, const ArchiveSnapshot& archive, const ArchiveEntry& entry);

/// Whether two members hold the same bytes. Sizes and checksums tell first, then the stored bytes; only what
/// is stored otherwise is inflated. Throws HEXAlgException when one of them cannot be read.
KP_EXPORT bool isCopy(const ArchiveSnapshot& archive, const ArchiveEntry& entry, const ArchiveSnapshot& other,
                      const ArchiveEntry& otherEntry);

/// Whether the files below the directory are those of the archive's folder: the same names, the same bytes.
/// Empty directories, times and modes do not count. Throws HEXAlgException when one of them cannot be read.
KP_EXPORT bool isCopy(const std::string& directory, const ArchiveSnapshot& archive, std::string_view folder);
