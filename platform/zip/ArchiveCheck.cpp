// Finding the flaws of an archive, and verifying its digest.

#include "platform/base/Exceptions.h"
#include "platform/base/HUTProgress.h"
#include "platform/base/OrderedWork.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/ExtractionPlan.h"
#include "platform/zip/ZipFormat.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace {

using Code = ArchiveFinding::Code;

class Check {
public:
    explicit Check(const ArchiveSnapshot& archive, std::uint64_t endRecordsOffset)
        : archive_(archive), endRecordsOffset_(endRecordsOffset), isUnreadable_(archive.entries().size()) {}

    std::vector<ArchiveFinding> run(std::size_t jobs, const std::function<void()>& beside) {
        std::vector<Buffer> buffers(jobs);
        OrderedWork work(jobs);
        work.run([&] {
            if (beside)
                work.add(OrderedWork::keepingNone(archive_.digestEnd()), [&](std::size_t) { beside(); }, {});
            checkNames();
            checkKinds();
            checkLayout();
            forEach([&](std::uint32_t position) {
                if (!isUnreadable_[position]) addReading(position, work, buffers);
            });
        });
        if (findings_.empty()) checkExtraction();
        return std::move(findings_);
    }

private:
    struct Extent {
        std::uint64_t begin;
        std::uint64_t end;
        std::uint32_t position;
        bool isKnown;  ///< the end is where the entry's bytes end
    };

    const ArchiveEntry& at(std::uint32_t position) const { return archive_.entries()[position]; }

    template <class Use>
    void forEach(Use use) {
        for (std::uint32_t position = 0; position < archive_.entries().size(); ++position)
            use(position);
    }

    void report(Code code, const ArchiveEntry& entry, const std::string& reason) {
        findings_.push_back({code, std::string(entry.name), HUTPathUtils::quoted(entry.name) + " " + reason});
    }

    /// A flaw that keeps the entry's data from being read.
    void reportUnreadable(Code code, std::uint32_t position, const std::string& reason) {
        report(code, at(position), reason);
        isUnreadable_[position] = true;
    }

    void reportFailure(Code code, std::uint32_t position, const HEXAlgException& failure) {
        findings_.push_back({code, std::string(at(position).name), failure.what()});
        isUnreadable_[position] = true;
    }

    void checkNames() {
        forEach([&](std::uint32_t position) {
            const ArchiveEntry& entry = at(position);
            const std::string_view reason = unsafeNameReason(entry.name);
            if (!reason.empty()) report(Code::UnsafeName, entry, "is an unsafe name: " + std::string(reason));
            if (archive_.positionsNamed(entry.name).front() != position)
                report(Code::DuplicateName, entry, "is the name of an earlier entry as well");
            if (!entry.isDirectory() && archive_.isDirectory(entry.name))
                report(Code::FileAndFolder, entry, "is the name of a file and of a folder");
        });
    }

    void checkKinds() {
        forEach([&](std::uint32_t position) {
            const ArchiveEntry& entry = at(position);
            if ((entry.flags & ArchiveEntry::IsEncrypted) != 0) {
                reportUnreadable(Code::Encrypted, position, "is encrypted");
            } else if (entry.method != ArchiveEntry::Stored && entry.method != ArchiveEntry::Deflated) {
                reportUnreadable(Code::UnknownMethod, position,
                                 "is compressed by the unknown method " + std::to_string(entry.method));
            }
        });
    }

    /// Whether every byte of the file belongs to exactly one entry, the directory or the end records.
    void checkLayout() {
        std::uint64_t end = 0;
        bool isEndKnown = true;
        for (const Extent& extent : extents()) {
            if (extent.begin < end) {
                reportUnreadable(Code::OverlappingEntry, extent.position, "overlaps the entry before it");
            } else if (isEndKnown) {
                checkGap(end, extent.begin);
            }
            end = std::max(end, extent.end);
            isEndKnown = extent.isKnown;
        }
        if (isEndKnown) checkGap(end, archive_.directoryOffset());
        std::uint64_t directoryEnd = archive_.directoryOffset();
        forEach([&](std::uint32_t position) {
            const ArchiveEntry& entry = at(position);
            directoryEnd +=
                zip_format::directorySize + entry.name.size() + entry.extra.size() + entry.comment.size();
        });
        checkGap(directoryEnd, endRecordsOffset_);
    }

    void checkGap(std::uint64_t begin, std::uint64_t end) {
        if (begin >= end) return;
        findings_.push_back({Code::UnaccountedBytes, "",
                             std::to_string(end - begin) + " bytes at offset " + std::to_string(begin) +
                                 " belong to no entry"});
    }

    std::vector<Extent> extents() {
        std::vector<Extent> extents;
        forEach([&](std::uint32_t position) {
            try {
                const LocalRecord record = archive_.localRecord(at(position));
                extents.push_back(
                    {record.begin, record.end + descriptorSize(position, record.end), position, true});
            } catch (const HEXAlgException& failure) {
                reportFailure(Code::HeaderMismatch, position, failure);
                extents.push_back({at(position).offset, at(position).offset, position, false});
            }
        });
        std::sort(extents.begin(), extents.end(), [](const Extent& a, const Extent& b) {
            return std::pair(a.begin, a.position) < std::pair(b.begin, b.position);
        });
        return extents;
    }

    std::uint64_t descriptorSize(std::uint32_t position, std::uint64_t offset);

    /// Finds what no other check has words for.
    void checkExtraction() {
        ExtractionPlan plan(archive_.shared_from_this());
        forEach([&](std::uint32_t position) {
            try {
                plan.add(at(position));
            } catch (const HEXAlgException& failure) {
                reportFailure(Code::Unextractable, position, failure);
            }
        });
    }

    void addReading(std::uint32_t position, OrderedWork& work, std::vector<Buffer>& buffers) {
        const auto failure = std::make_shared<std::optional<HEXAlgException>>();
        work.add(
            OrderedWork::keepingNone(at(position).size),
            [=, this, &buffers](std::size_t worker) {
                *failure = failureToRead(at(position), buffers[worker]);
            },
            [=, this] {
                if (*failure) reportFailure(Code::BadData, position, **failure);
            });
    }

    std::optional<HEXAlgException> failureToRead(const ArchiveEntry& entry, Buffer& buffer) const {
        constexpr std::size_t bufferSize = std::size_t{1} << 18;
        char* bytes = buffer.ofSize(bufferSize);
        try {
            const std::unique_ptr<MemberStream> stream = archive_.stream(entry);
            while (const std::size_t got = stream->read(bytes, bufferSize))
                HUTProgress::advance(got);
            return {};
        } catch (const HEXAlgException& failure) {
            return failure;
        }
    }

    const ArchiveSnapshot& archive_;
    std::uint64_t endRecordsOffset_;
    std::vector<ArchiveFinding> findings_;
    std::vector<bool> isUnreadable_;  ///< by position
};

/// The size of the data descriptor behind the entry's data: with or without signature, with numbers of 32 or
/// 64 bits.
std::uint64_t Check::descriptorSize(std::uint32_t position, std::uint64_t offset) {
    const ArchiveEntry& entry = at(position);
    if ((entry.flags & ArchiveEntry::HasDescriptor) == 0) return 0;
    std::string bytes(24, '\0');
    const std::uint64_t room = archive_.directoryOffset() - offset;
    bytes.resize(
        disk::readAt(archive_.file(), offset, bytes.data(), std::min<std::uint64_t>(bytes.size(), room)));
    for (const bool isSigned : {true, false}) {
        for (const bool isLarge : {false, true}) {
            zip_format::FieldReader fields(bytes);
            const bool hasSignature = !isSigned || fields.u32() == zip_format::descriptorSignature;
            const auto number = [&] { return isLarge ? fields.u64() : fields.u32(); };
            const bool matches =
                fields.u32() == entry.crc && number() == entry.storedSize && number() == entry.size;
            if (hasSignature && matches && fields.ok()) return bytes.size() - fields.rest().size();
        }
    }
    reportUnreadable(Code::HeaderMismatch, position, "lacks the sizes behind its data");
    return 0;
}

/// Where the last entry begins: most edits replace that one, which is the manifest, and leave all before it
/// alone.
std::uint64_t lastEntryOffset(const ArchiveSnapshot& archive) {
    std::uint64_t offset = 0;
    for (const ArchiveEntry& entry : archive.entries())
        offset = std::max(offset, entry.offset);
    return offset;
}

}  // namespace

std::vector<ArchiveFinding> ArchiveSnapshot::check(std::size_t jobs,
                                                   const std::function<void()>& beside) const {
    const HUTProgress progress([&] { return contentSize(); });
    return Check(*this, listing_->directory.endRecordsOffset).run(jobs, beside);
}

DigestVerdict ArchiveSnapshot::checkDigest(ArchiveDigest::Label label) const {
    if (!comment().starts_with(ArchiveDigest::prefix(label))) return DigestVerdict::Missing;
    const HUTProgress progress([&] { return digestEnd(); });
    try {
        HashedPrefix prefix{lastEntryOffset(*this), ArchiveDigest(label)};
        prefix.digest.add(file_, 0, prefix.position);
        ArchiveDigest whole = prefix.digest;
        whole.add(file_, prefix.position, digestEnd());
        hashedPrefix_ = std::move(prefix);
        return comment() == whole.comment() ? DigestVerdict::Valid : DigestVerdict::Mismatch;
    } catch (const HEXAlgException&) {
        return DigestVerdict::Unreadable;
    }
}
