#pragma once

#include "platform/zip/ArchiveEntry.h"
#include "platform/zip/ArchiveWriter.h"
#include "platform/zip/Buffer.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>

struct libdeflate_decompressor;

/// Tells whether stored bytes are those of some content, with memory that is kept from one time to the next.
class Inflater {
public:
    Inflater();
    ~Inflater();
    bool inflatesTo(std::string_view content, std::string_view stored);

private:
    std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor_;
    Buffer inflated_;
};

/// What an archive that is being written holds already, so that content need not be deflated twice: trees of
/// IP hold many files more than once. Any thread may look.
class PackedContents {
public:
    explicit PackedContents(ArchiveWriter& writer) : writer_(writer) {}

    /// How content stands in the archive: as a member, or as a piece of one (see DeflatePieces).
    enum class Form { Whole, Piece, LastPiece };
    struct Key {
        std::uint64_t size = 0;
        std::uint32_t crc = 0;
        Form form = Form::Whole;

        auto operator<=>(const Key&) const = default;  // NOLINT(modernize-use-nullptr): there is none
    };
    /// Where the stored bytes are, in the archive and to stay.
    struct Place {
        std::uint64_t begin = 0;
        std::uint64_t size = 0;
        ArchiveEntry::Method method = ArchiveEntry::Stored;
    };
    struct Stored {
        std::string_view bytes;
        ArchiveEntry::Method method;
    };

    void add(const Key& key, const Place& place);
    /// The stored bytes of this very content, in `output`; none where the archive holds none.
    std::optional<Stored> find(const Key& key, std::string_view content, Inflater& inflater,
                               Buffer& output) const;

private:
    std::optional<Place> placeOf(const Key& key) const;

    ArchiveWriter& writer_;
    mutable std::mutex mutex_;  ///< of the places
    std::map<Key, Place> places_;
};
