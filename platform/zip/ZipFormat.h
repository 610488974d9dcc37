#pragma once

#include "platform/zip/ArchiveEntry.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The records of a zip file as bytes: little-endian fields, and the records that this room writes.
namespace zip_format {

constexpr std::uint32_t localSignature = 0x04034b50;
constexpr std::uint32_t descriptorSignature = 0x08074b50;
constexpr std::uint32_t directorySignature = 0x02014b50;
constexpr std::uint32_t endSignature = 0x06054b50;
constexpr std::uint32_t end64Signature = 0x06064b50;
constexpr std::uint32_t locatorSignature = 0x07064b50;

constexpr std::size_t localSize = 30;
constexpr std::size_t directorySize = 46;
constexpr std::size_t endSize = 22;
constexpr std::size_t end64Size = 56;
constexpr std::size_t locatorSize = 20;
/// Of the end record without the comment's length.
constexpr std::size_t endDigestedSize = endSize - 2;

/// A field of this value is too small for its number; the number stands in the zip64 records.
constexpr std::uint16_t full16 = 0xffff;
constexpr std::uint32_t full32 = 0xffffffff;
constexpr std::uint16_t zip64Id = 1;

/// Takes fields off the front of some bytes. Past the end every field is 0 and ok() turns false.
class FieldReader {
public:
    explicit FieldReader(std::string_view bytes) : bytes_(bytes) {}

    bool ok() const { return ok_; }
    std::string_view rest() const { return bytes_; }
    std::string_view take(std::size_t size) {
        ok_ = ok_ && size <= bytes_.size();
        const std::string_view taken = ok_ ? bytes_.substr(0, size) : std::string_view();
        bytes_.remove_prefix(taken.size());
        return taken;
    }
    std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
    std::uint64_t u64() { return number(8); }

private:
    std::uint64_t number(std::size_t size) {
        std::uint64_t value = 0;
        int shift = 0;
        for (const char byte : take(size)) {
            value |= std::uint64_t{static_cast<unsigned char>(byte)} << shift;
            shift += 8;
        }
        return value;
    }

    std::string_view bytes_;
    bool ok_ = true;
};

/// Appends fields to some bytes.
class FieldWriter {
public:
    explicit FieldWriter(std::string& bytes) : bytes_(bytes) {}

    FieldWriter& u16(std::uint64_t value) { return number(value, 2); }
    FieldWriter& u32(std::uint64_t value) { return number(value, 4); }
    FieldWriter& u64(std::uint64_t value) { return number(value, 8); }
    FieldWriter& text(std::string_view text) {
        bytes_.append(text);
        return *this;
    }

private:
    FieldWriter& number(std::uint64_t value, int size) {
        for (int i = 0; i < size; ++i)
            bytes_ += static_cast<char>(value >> (8 * i));
        return *this;
    }

    std::string& bytes_;
};

/// The content of an extra field, or nothing.
std::string_view extraField(std::string_view extra, std::uint16_t id);

/// Whether an entry of this many bytes needs the zip64 field in its own header, however it is stored.
bool needsZip64(std::uint64_t size);

std::string localHeader(const ArchiveEntry& entry);
std::string directoryRecord(const ArchiveEntry& entry);
/// The records behind the directory, without the comment's length and text.
std::string endRecords(std::uint64_t count, std::uint64_t directoryOffset, std::uint64_t directorySize);

}  // namespace zip_format
