#include "platform/zip/ArchiveReader.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ZipFormat.h"

#include <algorithm>
#include <utility>

using zip_format::FieldReader;
using zip_format::full16;
using zip_format::full32;

namespace {

/// The largest directory that is read: some ten million entries.
constexpr std::uint64_t maximumDirectory = std::uint64_t{1} << 30;

struct EndRecord {
    std::uint64_t count = 0;
    std::uint64_t directorySize = 0;
    std::uint64_t directoryOffset = 0;

    bool agreesWith(const EndRecord& large) const {
        return (count == full16 || count == large.count) &&
               (directorySize == full32 || directorySize == large.directorySize) &&
               (directoryOffset == full32 || directoryOffset == large.directoryOffset);
    }
};

/// The position of the last end record in `tail`, at `last` or before, whose comment reaches to the tail's
/// end.
std::size_t endRecordAtOrBefore(std::string_view tail, std::size_t last) {
    constexpr std::string_view signature = "PK\5\6";
    for (std::size_t at = tail.rfind(signature, last); at != std::string_view::npos;
         at = at == 0 ? std::string_view::npos : tail.rfind(signature, at - 1)) {
        FieldReader fields(tail.substr(at));
        fields.take(zip_format::endDigestedSize);
        const std::size_t commentSize = fields.u16();
        if (fields.ok() && fields.rest().size() == commentSize) return at;
    }
    return std::string_view::npos;
}

class DirectoryReader {
public:
    /// What is refused is told with the reason behind `refusal`.
    DirectoryReader(const disk::FileDescriptor& file, std::uint64_t fileSize, std::string refusal)
        : file_(file), fileSize_(fileSize), refusal_(std::move(refusal)) {}

    ArchiveDirectory run() {
        const EndRecord end = findEnd();
        readDirectory(end);
        parse(end.count);
        return std::move(result_);
    }

private:
    [[noreturn]] void refuse(const std::string& reason) const {
        throw HEXAlgException(refusal_ + ": " + reason);
    }

    std::string bytesAt(std::uint64_t offset, std::uint64_t size) const {
        std::string bytes(size, '\0');
        disk::readExactly(file_, offset, bytes.data(), size);
        return bytes;
    }

    EndRecord findEnd() {
        const std::uint64_t tailSize = std::min<std::uint64_t>(fileSize_, zip_format::endSize + full16);
        const std::string tail = bytesAt(fileSize_ - tailSize, tailSize);
        const std::size_t at = endRecordAtOrBefore(tail, std::string::npos);
        if (at == std::string::npos) refuse("it has no end of directory record");
        if (at > 0 && endRecordAtOrBefore(tail, at - 1) != std::string::npos)
            refuse("it has two end of directory records");

        result_.comment = tail.substr(at + zip_format::endSize);
        result_.endRecordsOffset = fileSize_ - tailSize + at;
        result_.digestEnd = result_.endRecordsOffset + zip_format::endDigestedSize;
        return enlarge(parseEnd(std::string_view(tail).substr(at)));
    }

    EndRecord parseEnd(std::string_view bytes) const {
        FieldReader fields(bytes);
        fields.u32();
        const std::uint16_t disk = fields.u16();
        const std::uint16_t directoryDisk = fields.u16();
        const std::uint16_t countHere = fields.u16();
        EndRecord end;
        end.count = fields.u16();
        end.directorySize = fields.u32();
        end.directoryOffset = fields.u32();
        const auto isSingle = [](std::uint16_t number) { return number == 0 || number == full16; };
        if (!isSingle(disk) || !isSingle(directoryDisk)) refuse("it is one part of several");
        if (countHere != end.count) refuse("its entry counts contradict each other");
        return end;
    }

    /// The numbers of the zip64 records where there are any, needed or not: some programs always write them,
    /// and others always read them. Else those of the plain end record.
    EndRecord enlarge(const EndRecord& plain) {
        const std::uint64_t plainOffset = result_.endRecordsOffset;
        if (plainOffset < zip_format::locatorSize + zip_format::end64Size) return plain;
        const std::uint64_t locatorOffset = plainOffset - zip_format::locatorSize;
        const std::string locator = bytesAt(locatorOffset, zip_format::locatorSize);
        FieldReader fields(locator);
        if (fields.u32() != zip_format::locatorSignature) return plain;
        fields.u32();
        const std::uint64_t offset = fields.u64();
        if (fields.u32() > 1) refuse("it is one part of several");
        if (offset > locatorOffset - zip_format::end64Size) refuse("its zip64 record lies outside the file");

        const EndRecord large = parseEnd64(bytesAt(offset, zip_format::end64Size), locatorOffset - offset);
        if (!plain.agreesWith(large)) refuse("its end of directory records contradict each other");
        result_.endRecordsOffset = offset;
        return large;
    }

    EndRecord parseEnd64(const std::string& bytes, std::uint64_t room) const {
        FieldReader fields(bytes);
        if (fields.u32() != zip_format::end64Signature || fields.u64() + 12 != room)
            refuse("its zip64 record is damaged");
        fields.u32();  // versions
        const bool isSplit = fields.u32() != 0 || fields.u32() != 0;
        const std::uint64_t countHere = fields.u64();
        EndRecord end;
        end.count = fields.u64();
        end.directorySize = fields.u64();
        end.directoryOffset = fields.u64();
        if (isSplit) refuse("it is one part of several");
        if (countHere != end.count) refuse("its entry counts contradict each other");
        return end;
    }

    void readDirectory(const EndRecord& end) {
        if (end.directoryOffset > result_.endRecordsOffset ||
            end.directorySize > result_.endRecordsOffset - end.directoryOffset)
            refuse("the central directory lies outside the file");
        if (end.directorySize > maximumDirectory) refuse("its central directory is larger than 1 GiB");
        if (end.count > end.directorySize / zip_format::directorySize)
            refuse("its central directory is too small for the number of entries");
        result_.offset = end.directoryOffset;
        result_.bytes = bytesAt(end.directoryOffset, end.directorySize);
    }

    void parse(std::uint64_t count) {
        constexpr std::uint64_t trusted =
            65536;  // a hostile count costs no more memory than its entries take
        result_.entries.reserve(std::min(count, trusted));
        FieldReader fields(result_.bytes);
        for (std::uint64_t i = 0; i < count; ++i)
            result_.entries.push_back(parseEntry(fields));
        if (!fields.rest().empty()) refuse("its central directory holds more than the entries it counts");
    }

    ArchiveEntry parseEntry(FieldReader& fields) const {
        if (fields.u32() != zip_format::directorySignature) refuse("its central directory is damaged");
        ArchiveEntry entry;
        entry.madeBy = fields.u16();
        fields.u16();  // version needed
        entry.flags = fields.u16();
        entry.method = fields.u16();
        entry.dosTime = fields.u32();
        entry.crc = fields.u32();
        entry.storedSize = fields.u32();
        entry.size = fields.u32();
        const std::uint16_t nameSize = fields.u16();
        const std::uint16_t extraSize = fields.u16();
        const std::uint16_t commentSize = fields.u16();
        const std::uint16_t disk = fields.u16();
        entry.internalAttributes = fields.u16();
        entry.externalAttributes = fields.u32();
        entry.offset = fields.u32();
        entry.name = fields.take(nameSize);
        entry.extra = fields.take(extraSize);
        entry.comment = fields.take(commentSize);
        if (!fields.ok()) refuse("its central directory is damaged");
        if (disk != 0 && disk != full16) refuse("it is one part of several");
        enlarge(entry);
        requireInside(entry);
        return entry;
    }

    void enlarge(ArchiveEntry& entry) const {
        FieldReader large(zip_format::extraField(entry.extra, zip_format::zip64Id));
        for (std::uint64_t* number : {&entry.size, &entry.storedSize, &entry.offset})
            if (*number == full32) *number = large.u64();
        if (!large.ok()) refuse(HUTPathUtils::quoted(entry.name) + " lacks its zip64 sizes");
    }

    void requireInside(const ArchiveEntry& entry) const {
        const std::uint64_t headerSize = zip_format::localSize + entry.name.size();
        const std::uint64_t end = result_.offset;
        if (headerSize > end || entry.offset > end - headerSize ||
            entry.storedSize > end - headerSize - entry.offset)
            refuse(HUTPathUtils::quoted(entry.name) + " lies outside the file");
    }

    const disk::FileDescriptor& file_;
    std::uint64_t fileSize_;
    std::string refusal_;
    ArchiveDirectory result_;
};

}  // namespace

ArchiveDirectory readArchiveDirectory(const disk::FileDescriptor& file, std::uint64_t fileSize) {
    return DirectoryReader(file, fileSize, HUTPathUtils::quoted(file.path()) + " is not a readable archive")
        .run();
}

void requireReadableArchive(const disk::FileDescriptor& file, std::uint64_t fileSize,
                            const std::string& path) {
    DirectoryReader(file, fileSize, HUTPathUtils::quoted(path) + " would not be readable afterwards").run();
}
