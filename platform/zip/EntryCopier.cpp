#include "platform/zip/EntryCopier.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <numeric>

std::uint64_t EntryCopier::copy(const std::vector<std::uint32_t>& positions) {
    std::vector<Kept> kept = readRecords(archive_, positions);
    for (const std::uint32_t index : orderByOffset(archive_, kept))
        take(kept[index]);
    copyRun();
    for (const Kept& copied : kept)
        writer_.list(copied.entry);
    return samePrefix_;
}

void EntryCopier::requireCopyable(const ArchiveSnapshot& archive,
                                  const std::vector<std::uint32_t>& positions) {
    orderByOffset(archive, readRecords(archive, positions));
}

std::vector<EntryCopier::Kept> EntryCopier::readRecords(const ArchiveSnapshot& archive,
                                                        const std::vector<std::uint32_t>& positions) {
    std::vector<Kept> kept;
    kept.reserve(positions.size());
    for (const std::uint32_t position : positions) {
        const ArchiveEntry& entry = archive.entries()[position];
        kept.push_back({entry, archive.localRecord(entry)});
    }
    return kept;
}

/// The entries in the order in which they lie in the archive. Throws when some overlap.
std::vector<std::uint32_t> EntryCopier::orderByOffset(const ArchiveSnapshot& archive,
                                                      const std::vector<Kept>& kept) {
    std::vector<std::uint32_t> order(kept.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(),
              [&](std::uint32_t a, std::uint32_t b) { return kept[a].record.begin < kept[b].record.begin; });
    std::uint64_t end = 0;
    for (const std::uint32_t index : order) {
        const Kept& next = kept[index];
        if (next.record.begin < end)
            throw HEXAlgException(HUTPathUtils::quoted(next.entry.name) + " of the archive " +
                                  HUTPathUtils::quoted(archive.path()) + " overlaps another entry");
        end = next.record.end;
    }
    return order;
}

void EntryCopier::take(Kept& kept) {
    const LocalRecord& record = kept.record;
    if ((kept.entry.flags & ArchiveEntry::HasDescriptor) != 0) {
        // Its sizes move from behind the data into the header.
        copyRun();
        kept.entry.flags &= static_cast<std::uint16_t>(~ArchiveEntry::HasDescriptor);
        writer_.putHeader(kept.entry);
        writer_.copy(archive_.file(), record.data, record.end - record.data);
        return;
    }
    if (record.begin != runEnd_) {
        copyRun();
        runBegin_ = record.begin;
    }
    kept.entry.offset = writer_.position() + (record.begin - runBegin_);
    runEnd_ = record.end;
}

void EntryCopier::copyRun() {
    if (runEnd_ == runBegin_) return;
    const std::uint64_t position = writer_.position();
    writer_.copy(archive_.file(), runBegin_, runEnd_ - runBegin_);
    if (position == runBegin_ && position == samePrefix_) samePrefix_ = runEnd_;
    runBegin_ = runEnd_ = 0;
}
