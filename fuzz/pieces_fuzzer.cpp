// Content deflated in pieces: what they are joined to inflates to the content.

#include "platform/zip/DeflatePieces.h"

#include <vector>

#include "fuzz/Fuzz.h"
#include <libdeflate.h>

namespace {

/// How large a piece is, from a byte: 1 to 64 times a step of 1, 32 or 1024 bytes. All is blocks of one kind
/// or another, which begin and end anywhere within a byte.
std::size_t pieceSize(std::uint8_t byte) {
    constexpr std::size_t steps[] = {1, 32, 1024, 1024};
    return steps[byte >> 6] * (1 + byte % 64);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    static DeflatePieces pieces;
    static libdeflate_decompressor* const decompressor = libdeflate_alloc_decompressor();
    const std::size_t step = pieceSize(data[0]);
    const std::string_view content = fuzz::text(data + 1, size - 1);
    Buffer output;
    std::string stream;
    for (std::size_t begin = 0; begin < content.size(); begin += step)
        stream += pieces.piece(content.substr(begin, step), begin + step >= content.size(), output);

    std::string inflated(content.size(), '\0');
    std::size_t used = 0;
    const libdeflate_result result = libdeflate_deflate_decompress_ex(
        decompressor, stream.data(), stream.size(), inflated.data(), inflated.size(), &used, nullptr);
    fuzz::require(result == LIBDEFLATE_SUCCESS, "the pieces are one stream");
    fuzz::require(used == stream.size(), "the stream ends with the last piece");
    fuzz::require(inflated == content, "the stream holds the content");
    return 0;
}
