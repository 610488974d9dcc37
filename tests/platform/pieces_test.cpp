#include "platform/zip/DeflatePieces.h"
#include "tests/platform/ZipTest.h"

#include <libdeflate.h>
#include <zlib.h>

namespace {

/// Text like that of sources: words that come again, numbers that do not.
std::string prose(std::size_t size) {
    constexpr std::array words = {"assign ", "wire ", "reg [31:0] ", "posedge clk ",
                                  "begin\n", "end\n", "== "};
    std::mt19937 random(1);
    std::string text;
    while (text.size() < size)
        text += random() % 4 == 0 ? std::to_string(random()) : words[random() % words.size()];
    return text.substr(0, size);
}

/// The content in pieces of a size, one behind the other.
std::string joined(std::string_view content, std::size_t pieceSize) {
    DeflatePieces pieces;
    Buffer output;
    std::string stream;
    for (std::size_t begin = 0; begin < content.size(); begin += pieceSize)
        stream += pieces.piece(content.substr(begin, pieceSize), begin + pieceSize >= content.size(), output);
    return stream;
}

std::string inflated(std::string_view stream, std::size_t size) {
    const std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor(
        libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
    std::string bytes(size, '\0');
    std::size_t used = 0;
    const auto result = libdeflate_deflate_decompress_ex(decompressor.get(), stream.data(), stream.size(),
                                                         bytes.data(), size, &used, nullptr);
    return result == LIBDEFLATE_SUCCESS && used == stream.size() ? bytes : "no stream of this size";
}

TEST(Pieces, AreOneStreamWhereverTheirLastBlocksBeginAndEnd) {
    constexpr std::size_t size = 400'000;
    const std::string mixed = prose(size / 2) + noise(size / 4) + std::string(size / 4, '\0');
    std::mt19937 random(2);
    for (const std::string& content : {prose(size), noise(size), mixed})
        for (int attempt = 0; attempt < 60; ++attempt) {
            // A few bytes, one block of a fixed code, up to many blocks of all kinds.
            const std::size_t pieceSize = 1 + random() % (std::size_t{1} << (6 + attempt % 13));
            EXPECT_EQ(inflated(joined(content, pieceSize), size), content) << pieceSize;
        }
}

TEST(Pieces, TakeNoMoreThanOneStreamOfZlib) {
    const std::string content = prose(4 * DeflatePieces::pieceSize + 1);
    uLong size = compressBound(content.size());
    std::string stream(size, '\0');
    ASSERT_EQ(compress2(reinterpret_cast<Bytef*>(stream.data()), &size,
                        reinterpret_cast<const Bytef*>(content.data()), content.size(), 6),
              Z_OK);
    EXPECT_LE(static_cast<double>(joined(content, DeflatePieces::pieceSize).size()),
              1.005 * static_cast<double>(size));
}

}  // namespace
