#include "platform/zip/ArchiveDigest.h"

#include "platform/base/HUTProgress.h"

#include <algorithm>
#include <array>
#include <span>

#include <nettle/nettle-meta.h>
#include <nettle/sha1.h>
#include <nettle/sha2.h>

namespace {

struct LabelText {
    std::string_view prefix;
    const nettle_hash& algorithm;
};

const LabelText& textOf(ArchiveDigest::Label label) {
    static const LabelText texts[] = {{"kp-digest-1:sha1:", nettle_sha1},
                                      {"kp-digest-2:sha256:", nettle_sha256}};
    return texts[static_cast<std::size_t>(label)];
}

}  // namespace

/// What an algorithm keeps of the bytes so far.
union ArchiveDigest::Context {
    sha1_ctx sha1;
    sha256_ctx sha256;
};

ArchiveDigest::ArchiveDigest(Label label) : label_(label), context_(std::make_unique<Context>()) {
    textOf(label).algorithm.init(context_.get());
}

ArchiveDigest::ArchiveDigest(const ArchiveDigest& other)
    : label_(other.label_), context_(std::make_unique<Context>(*other.context_)) {}

ArchiveDigest& ArchiveDigest::operator=(const ArchiveDigest& other) {
    return *this = ArchiveDigest(other);
}

ArchiveDigest::ArchiveDigest(ArchiveDigest&&) noexcept = default;
ArchiveDigest& ArchiveDigest::operator=(ArchiveDigest&&) noexcept = default;
ArchiveDigest::~ArchiveDigest() = default;

std::string_view ArchiveDigest::prefix(Label label) {
    return textOf(label).prefix;
}

void ArchiveDigest::add(std::string_view bytes) {
    textOf(label_).algorithm.update(context_.get(), bytes.size(),
                                    reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

void ArchiveDigest::add(const disk::FileDescriptor& file, std::uint64_t begin, std::uint64_t end) {
    constexpr std::size_t bufferSize = std::size_t{1} << 18;
    const auto buffer = std::make_unique_for_overwrite<char[]>(bufferSize);
    while (begin < end) {
        const std::size_t size = std::min<std::uint64_t>(end - begin, bufferSize);
        disk::readExactly(file, begin, buffer.get(), size);
        add({buffer.get(), size});
        begin += size;
        HUTProgress::advance(size);
    }
}

std::string ArchiveDigest::comment() const {
    const auto& [prefix, algorithm] = textOf(label_);
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> hash{};
    Context ended = *context_;
    algorithm.digest(&ended, algorithm.digest_size, hash.data());

    constexpr std::string_view digits = "0123456789abcdef";
    std::string comment(prefix);
    for (const std::uint8_t byte : std::span(hash).first(algorithm.digest_size))
        comment.append({digits[byte >> 4], digits[byte & 15]});
    return comment;
}
