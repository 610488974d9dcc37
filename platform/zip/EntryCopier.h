#pragma once

#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/ArchiveWriter.h"

#include <cstdint>
#include <vector>

/// Copies entries of an archive as stored bytes to the front of a new one; neighbours in one go.
class EntryCopier {
public:
    EntryCopier(const ArchiveSnapshot& archive, ArchiveWriter& writer) : archive_(archive), writer_(writer) {}

    /// Copies the entries at these positions of the archive, which are ascending, and lists them in this
    /// order. Returns how many bytes at the front of both archives are the same. Throws for entries whose
    /// headers contradict the directory and for those that overlap.
    std::uint64_t copy(const std::vector<std::uint32_t>& positions);

    /// Throws what copying the entries would.
    static void requireCopyable(const ArchiveSnapshot& archive, const std::vector<std::uint32_t>& positions);

private:
    struct Kept {
        ArchiveEntry entry;
        LocalRecord record;
    };

    static std::vector<Kept> readRecords(const ArchiveSnapshot& archive,
                                         const std::vector<std::uint32_t>& positions);
    static std::vector<std::uint32_t> orderByOffset(const ArchiveSnapshot& archive,
                                                    const std::vector<Kept>& kept);
    void take(Kept& kept);
    void copyRun();

    const ArchiveSnapshot& archive_;
    ArchiveWriter& writer_;
    std::uint64_t runBegin_ = 0;  ///< the stretch of the archive that is to be copied next
    std::uint64_t runEnd_ = 0;
    std::uint64_t samePrefix_ = 0;
};
