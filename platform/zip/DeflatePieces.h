#pragma once

#include "platform/zip/Buffer.h"

#include <cstddef>
#include <memory>
#include <string_view>

struct libdeflate_compressor;

/// Deflates, and large content in pieces that stand one behind the other as one deflate stream. Where content
/// is cut follows from its size alone, and so do the bytes that it is deflated to.
class DeflatePieces {
public:
    /// Content above this size is cut into pieces of it; the last one may be smaller.
    static constexpr std::size_t pieceSize = std::size_t{4} << 20;

    DeflatePieces();
    ~DeflatePieces();

    /// The content as a stream of its own; empty when that would not be smaller. The bytes are in `output`.
    std::string_view whole(std::string_view content, Buffer& output);
    /// One piece. What follows a piece other than the last begins at its end, on a whole byte.
    std::string_view piece(std::string_view content, bool isLast, Buffer& output);

private:
    std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> compressor_;
    std::unique_ptr<char[]> inflated_;
};
