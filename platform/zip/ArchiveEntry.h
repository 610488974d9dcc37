#pragma once

#include "platform/base/Export.h"

#include <cstdint>
#include <string_view>

/// One entry of an archive's central directory. The texts belong to the snapshot.
struct KP_EXPORT ArchiveEntry {
    enum Method : std::uint16_t { Stored = 0, Deflated = 8 };
    enum Flag : std::uint16_t { IsEncrypted = 1, HasDescriptor = 8, IsUtf8 = 0x800 };

    std::string_view name;
    std::string_view extra;
    std::string_view comment;
    std::uint16_t madeBy = 0;
    std::uint16_t flags = 0;
    std::uint16_t method = Stored;
    std::uint32_t dosTime = 0;  ///< date in the upper half, time in the lower one
    std::uint32_t crc = 0;
    std::uint64_t storedSize = 0;
    std::uint64_t size = 0;
    std::uint16_t internalAttributes = 0;
    std::uint32_t externalAttributes = 0;
    std::uint64_t offset = 0;  ///< of the entry's own header

    bool isDirectory() const { return name.ends_with('/'); }
    /// Unix type and permission bits; 0 where the archive tells none.
    std::uint32_t mode() const { return madeBy >> 8 == 3 ? externalAttributes >> 16 : 0; }
};

/// Where the bytes of an entry lie.
struct KP_EXPORT LocalRecord {
    std::uint64_t begin = 0;  ///< of the header
    std::uint64_t data = 0;   ///< of the stored bytes
    std::uint64_t end = 0;    ///< past the stored bytes; a data descriptor may follow
    const char* stored =
        nullptr;  ///< the stored bytes, if they were read along; the reader's buffer has them
};

/// Why a member of this name could lead out of a directory it is extracted to (such as "it contains '..'");
/// empty for a safe name.
KP_EXPORT std::string_view unsafeNameReason(std::string_view name);
/// Why no member of this name is extracted, wherever to; empty for a name that may be.
KP_EXPORT std::string_view unextractableNameReason(std::string_view name);
