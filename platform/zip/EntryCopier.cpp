#include "platform/zip/EntryCopier.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <numeric>

std::uint64_t EntryCopier::copy(const std::vector<std::uint32_t>& positions) {
    std::vector<Kept> kept = readRecords(positions);
    std::vector<std::uint32_t> byOffset(kept.size());
    std::iota(byOffset.begin(), byOffset.end(), 0U);
    std::sort(byOffset.begin(), byOffset.end(),
              [&](std::uint32_t a, std::uint32_t b) { return kept[a].record.begin < kept[b].record.begin; });

    std::uint64_t end = 0;
    for (const std::uint32_t index : byOffset) {
        Kept& next = kept[index];
        if (next.record.begin < end)
            throw HEXAlgException("'" + HUTPathUtils::shown(next.entry.name) + "' of the archive '" +
                                  HUTPathUtils::shown(archive_.path()) + "' overlaps another entry");
        end = next.record.end;
        take(next);
    }
    copyRun();
    for (const Kept& copied : kept)
        writer_.list(copied.entry);
    return samePrefix_;
}

std::vector<EntryCopier::Kept> EntryCopier::readRecords(const std::vector<std::uint32_t>& positions) const {
    std::vector<Kept> kept;
    kept.reserve(positions.size());
    for (const std::uint32_t position : positions) {
        const ArchiveEntry& entry = archive_.entries()[position];
        kept.push_back({entry, archive_.localRecord(entry)});
    }
    return kept;
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
