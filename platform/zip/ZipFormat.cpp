#include "platform/zip/ZipFormat.h"

#include <algorithm>

namespace zip_format {
namespace {

constexpr std::uint16_t plainVersion = 20;
constexpr std::uint16_t zip64Version = 45;

bool fits32(std::uint64_t value) {
    return value < full32;
}
std::uint32_t clamp32(std::uint64_t value) {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(value, full32));
}
std::uint16_t clamp16(std::uint64_t value) {
    return static_cast<std::uint16_t>(std::min<std::uint64_t>(value, full16));
}

std::string extraWithout(std::string_view extra, std::uint16_t unwanted) {
    std::string kept;
    FieldReader fields(extra);
    while (fields.ok() && fields.rest().size() >= 4) {
        const std::string_view whole = fields.rest();
        const std::uint16_t id = fields.u16();
        const std::uint16_t size = fields.u16();
        fields.take(size);
        if (fields.ok() && id != unwanted) kept.append(whole.substr(0, 4 + std::size_t{size}));
    }
    return kept;
}

/// The numbers of the entry that its 32-bit fields cannot hold, as a zip64 field.
std::string zip64ForDirectory(const ArchiveEntry& entry) {
    std::string numbers;
    FieldWriter fields(numbers);
    for (const std::uint64_t number : {entry.size, entry.storedSize, entry.offset})
        if (!fits32(number)) fields.u64(number);
    std::string extra;
    if (!numbers.empty()) FieldWriter(extra).u16(zip64Id).u16(numbers.size()).text(numbers);
    return extra;
}

}  // namespace

std::string_view extraField(std::string_view extra, std::uint16_t id) {
    FieldReader fields(extra);
    while (fields.ok()) {
        const std::uint16_t found = fields.u16();
        const std::string_view content = fields.take(fields.u16());
        if (fields.ok() && found == id) return content;
    }
    return {};
}

bool needsZip64(std::uint64_t size) {
    const std::uint64_t largestStored = size + size / 1000 + 1024;  // deflate adds less than this
    return !fits32(largestStored);
}

std::string localHeader(const ArchiveEntry& entry) {
    const bool isLarge = needsZip64(entry.size);
    std::string extra;
    if (isLarge) FieldWriter(extra).u16(zip64Id).u16(16).u64(entry.size).u64(entry.storedSize);
    std::string bytes;
    FieldWriter fields(bytes);
    fields.u32(localSignature).u16(isLarge ? zip64Version : plainVersion).u16(entry.flags).u16(entry.method);
    fields.u32(entry.dosTime).u32(entry.crc);
    fields.u32(isLarge ? full32 : entry.storedSize).u32(isLarge ? full32 : entry.size);
    fields.u16(entry.name.size()).u16(extra.size()).text(entry.name).text(extra);
    return bytes;
}

std::string directoryRecord(const ArchiveEntry& entry) {
    const std::string zip64 = zip64ForDirectory(entry);
    const std::string extra = extraWithout(entry.extra, zip64Id) + zip64;
    const bool isLarge = !zip64.empty() || needsZip64(entry.size);
    std::string bytes;
    FieldWriter fields(bytes);
    fields.u32(directorySignature).u16(entry.madeBy).u16(isLarge ? zip64Version : plainVersion);
    fields.u16(entry.flags).u16(entry.method).u32(entry.dosTime).u32(entry.crc);
    fields.u32(clamp32(entry.storedSize)).u32(clamp32(entry.size));
    fields.u16(entry.name.size()).u16(extra.size()).u16(entry.comment.size());
    fields.u16(0).u16(entry.internalAttributes).u32(entry.externalAttributes).u32(clamp32(entry.offset));
    fields.text(entry.name).text(extra).text(entry.comment);
    return bytes;
}

std::string endRecords(std::uint64_t count, std::uint64_t directoryOffset, std::uint64_t directorySize) {
    std::string bytes;
    FieldWriter fields(bytes);
    if (count >= full16 || !fits32(directoryOffset) || !fits32(directorySize)) {
        constexpr std::uint16_t madeBy = (3 << 8) | zip64Version;
        fields.u32(end64Signature).u64(end64Size - 12).u16(madeBy).u16(zip64Version).u32(0).u32(0);
        fields.u64(count).u64(count).u64(directorySize).u64(directoryOffset);
        fields.u32(locatorSignature).u32(0).u64(directoryOffset + directorySize).u32(1);
    }
    fields.u32(endSignature).u16(0).u16(0).u16(clamp16(count)).u16(clamp16(count));
    fields.u32(clamp32(directorySize)).u32(clamp32(directoryOffset));
    return bytes;
}

}  // namespace zip_format
