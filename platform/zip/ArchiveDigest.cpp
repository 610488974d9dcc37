#include "platform/zip/ArchiveDigest.h"

#include "platform/base/Exceptions.h"
#include "platform/base/HUTProgress.h"

#include <algorithm>

#include <openssl/evp.h>

namespace {

struct LabelText {
    std::string_view prefix;
    const EVP_MD* (*algorithm)();
};

const LabelText& textOf(ArchiveDigest::Label label) {
    static constexpr LabelText texts[] = {{"kp-digest-1:sha1:", &EVP_sha1},
                                          {"kp-digest-2:sha256:", &EVP_sha256}};
    return texts[static_cast<std::size_t>(label)];
}

void require(int success) {
    if (success != 1) throw HEXAlgException("The cryptography library failed to compute a digest");
}

}  // namespace

struct ArchiveDigest::Context {
    Context() = default;
    Context(const Context& other) : Context() {
        require(EVP_MD_CTX_copy_ex(handle.get(), other.handle.get()));
    }

    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> handle{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
};

ArchiveDigest::ArchiveDigest(Label label) : label_(label), context_(std::make_unique<Context>()) {
    require(EVP_DigestInit_ex(context_->handle.get(), textOf(label).algorithm(), nullptr));
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
    require(EVP_DigestUpdate(context_->handle.get(), bytes.data(), bytes.size()));
}

void ArchiveDigest::add(const disk::FileDescriptor& file, std::uint64_t begin, std::uint64_t end) {
    constexpr std::size_t bufferSize = std::size_t{1} << 18;
    const auto buffer = std::make_unique_for_overwrite<char[]>(bufferSize);
    while (begin < end) {
        const std::size_t got =
            disk::readAt(file, begin, buffer.get(), std::min<std::uint64_t>(end - begin, bufferSize));
        if (got == 0) throw HEXAlgException("'" + file.path() + "' became shorter while it was read");
        add({buffer.get(), got});
        begin += got;
        HUTProgress::advance(got);
    }
}

std::string ArchiveDigest::comment() const {
    const LabelText& text = textOf(label_);
    unsigned char hash[EVP_MAX_MD_SIZE] = {};
    unsigned size = 0;
    require(EVP_DigestFinal_ex(Context(*context_).handle.get(), hash, &size));

    constexpr std::string_view digits = "0123456789abcdef";
    std::string comment(text.prefix);
    for (unsigned i = 0; i < size; ++i)
        comment.append({digits[hash[i] >> 4], digits[hash[i] & 15]});
    return comment;
}
