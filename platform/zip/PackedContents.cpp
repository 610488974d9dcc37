#include "platform/zip/PackedContents.h"

#include <algorithm>
#include <new>

#include <libdeflate.h>

namespace {

/// A final block without bytes: it makes a stream of a piece.
constexpr std::string_view finalBlock{"\1\0\0\xFF\xFF", 5};

}  // namespace

Inflater::Inflater() : decompressor_(libdeflate_alloc_decompressor(), &libdeflate_free_decompressor) {
    if (!decompressor_) throw std::bad_alloc();
}

Inflater::~Inflater() = default;

bool Inflater::inflatesTo(std::string_view content, std::string_view stored) {
    char* inflated = inflated_.ofSize(content.size());
    std::size_t size = 0;
    const libdeflate_result result = libdeflate_deflate_decompress(
        decompressor_.get(), stored.data(), stored.size(), inflated, content.size(), &size);
    return result == LIBDEFLATE_SUCCESS && std::string_view(inflated, size) == content;
}

void PackedContents::add(const Key& key, const Place& place) {
    const std::lock_guard lock(mutex_);
    places_.try_emplace(key, place);
}

std::optional<PackedContents::Place> PackedContents::placeOf(const Key& key) const {
    const std::lock_guard lock(mutex_);
    const auto found = places_.find(key);
    return found == places_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<PackedContents::Stored> PackedContents::find(const Key& key, std::string_view content,
                                                           Inflater& inflater, Buffer& output) const {
    const std::optional<Place> place = content.empty() ? std::nullopt : placeOf(key);
    if (!place) return {};
    char* bytes = output.ofSize(place->size + finalBlock.size());
    writer_.readBack(place->begin, {bytes, place->size});
    std::copy(finalBlock.begin(), finalBlock.end(), bytes + place->size);
    const std::string_view stored(bytes, place->size);
    // Ends a piece; behind a whole stream nobody reads it.
    const std::string_view stream(bytes, place->size + finalBlock.size());
    // Checksums alone prove nothing.
    const bool isSame =
        place->method == ArchiveEntry::Stored ? stored == content : inflater.inflatesTo(content, stream);
    return isSame ? std::optional(Stored{stored, place->method}) : std::nullopt;
}
