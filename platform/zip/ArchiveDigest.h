#pragma once

#include "platform/base/Export.h"
#include "platform/files/Disk.h"

#include <cstdint>
#include <memory>
#include <string>

/// What the digest of an archive tells, by the numbers of HUTZip::checkIntegrity.
enum class DigestVerdict { Valid, Missing, Mismatch, Unreadable };

/// The digest that seals an archive: a hash over every byte up to the length field of the archive comment,
/// kept as the comment. Copies carry on from the same bytes independently.
class KP_EXPORT ArchiveDigest {
public:
    enum class Label { Sha1, Sha256 };  ///< of format 1.1; of formats from 2 on

    explicit ArchiveDigest(Label label);
    ArchiveDigest(const ArchiveDigest& other);
    ArchiveDigest& operator=(const ArchiveDigest& other);
    ArchiveDigest(ArchiveDigest&&) noexcept;
    ArchiveDigest& operator=(ArchiveDigest&&) noexcept;
    ~ArchiveDigest();

    Label label() const { return label_; }
    /// The beginning of the comment, such as "kp-digest-2:sha256:".
    static std::string_view prefix(Label label);

    void add(std::string_view bytes);
    /// Adds the file's bytes from `begin` to `end`. Throws when it is shorter.
    void add(const disk::FileDescriptor& file, std::uint64_t begin, std::uint64_t end);
    /// The comment for the bytes so far.
    std::string comment() const;

private:
    union Context;

    Label label_;
    std::unique_ptr<Context> context_;
};
