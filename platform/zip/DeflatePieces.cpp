#include "platform/zip/DeflatePieces.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <span>
#include <stdexcept>

#include <libdeflate.h>
#include <zlib.h>

namespace {

constexpr int level = 6;
constexpr std::size_t inflatedSize = std::size_t{1} << 18;

/// The length fields of a stored block without bytes, which stand on whole bytes.
constexpr std::string_view emptyLength{"\0\0\xFF\xFF", 4};

/// In bits from the beginning of a deflate stream.
struct LastBlock {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

/// Goes through a deflate stream from block to block.
class BlockSearch {
public:
    BlockSearch(std::string_view stream, std::span<char> inflated) : inflated_(inflated) {
        constexpr int rawDeflate = -15;
        if (inflateInit2(&inflater_, rawDeflate) != Z_OK) throw std::bad_alloc();
        inflater_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(stream.data()));
        inflater_.avail_in = static_cast<uInt>(stream.size());
    }
    BlockSearch(const BlockSearch&) = delete;
    BlockSearch& operator=(const BlockSearch&) = delete;
    ~BlockSearch() { inflateEnd(&inflater_); }

    LastBlock run() {
        LastBlock block;
        while (!endBlock()) {
            block.begin = position();
        }
        block.end = position();
        return block;
    }

private:
    /// Goes on to the end of a block, before anything behind it is looked at; returns whether it is the last.
    bool endBlock() {
        constexpr int isLast = 64, isAtEnd = 128;
        do {
            inflater_.next_out = reinterpret_cast<Bytef*>(inflated_.data());
            inflater_.avail_out = static_cast<uInt>(inflated_.size());
            const int result = inflate(&inflater_, Z_BLOCK);
            if (result == Z_MEM_ERROR) throw std::bad_alloc();
            if (result != Z_OK) throw std::logic_error("Deflated data do not inflate");
        } while ((inflater_.data_type & isAtEnd) == 0);
        return (inflater_.data_type & isLast) != 0;
    }

    /// After 3 bytes taken, of which the block left 5 bits alone: bit 19.
    std::uint64_t position() const {
        constexpr int unusedBits = 7;
        return std::uint64_t{8} * inflater_.total_in -
               static_cast<std::uint64_t>(inflater_.data_type & unusedBits);
    }

    std::span<char> inflated_;
    z_stream inflater_{};
};

/// Makes a stream that ends with a final block one that another stream may follow; there must be room for
/// five more bytes. Returns its size.
///
/// The final block becomes an ordinary one: its header's first bit tells. If it ends within a byte, an empty
/// stored block follows: three bits 0, more of them up to a whole byte, and the length fields. Two examples:
/// - it ends at bit 21, 5 bits into byte 2: the other 3 bits of that are the header, bytes 3 to 6 the length;
/// - it ends at bit 22: the header ends in byte 3, which is 0, and bytes 4 to 7 are the length.
std::size_t openEnd(char* stream, const LastBlock& last) {
    char& first = stream[last.begin / 8];
    first = static_cast<char>(first & ~(1 << last.begin % 8));
    std::size_t size = (last.end + 7) / 8;
    if (last.end % 8 == 0) return size;
    constexpr std::size_t headerBits = 3;
    if (8 - last.end % 8 < headerBits) stream[size++] = 0;
    std::copy(emptyLength.begin(), emptyLength.end(), stream + size);
    return size + emptyLength.size();
}

}  // namespace

DeflatePieces::DeflatePieces()
    : compressor_(libdeflate_alloc_compressor(level), &libdeflate_free_compressor),
      inflated_(std::make_unique_for_overwrite<char[]>(inflatedSize)) {
    if (!compressor_) throw std::bad_alloc();
}

DeflatePieces::~DeflatePieces() = default;

std::string_view DeflatePieces::whole(std::string_view content, Buffer& output) {
    if (content.empty()) return {};
    const std::size_t room = content.size() - 1;
    const std::size_t size = libdeflate_deflate_compress(compressor_.get(), content.data(), content.size(),
                                                         output.ofSize(room), room);
    return {output.data(), size};
}

std::string_view DeflatePieces::piece(std::string_view content, bool isLast, Buffer& output) {
    constexpr std::size_t endRoom = 1 + emptyLength.size();
    const std::size_t room = libdeflate_deflate_compress_bound(compressor_.get(), content.size());
    char* stream = output.ofSize(room + endRoom);
    std::size_t size =
        libdeflate_deflate_compress(compressor_.get(), content.data(), content.size(), stream, room);
    if (!isLast) size = openEnd(stream, BlockSearch({stream, size}, {inflated_.get(), inflatedSize}).run());
    return {stream, size};
}
