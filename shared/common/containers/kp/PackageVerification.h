#pragma once

#include "containers/kp/PackageFinding.h"
#include "platform/base/Export.h"
#include "platform/zip/ArchiveDigest.h"

#include <cstddef>
#include <string>
#include <vector>

/// What a thorough look at a package found.
struct KP_EXPORT PackageVerification {
    DigestVerdict digest = DigestVerdict::Unreadable;
    std::vector<PackageFinding> findings;

    bool isClean() const { return digest == DigestVerdict::Valid && findings.empty(); }
    /// "valid", "missing", "mismatch" or "unreadable".
    static std::string digestText(DigestVerdict digest);

    /// Verifies the digest, the structure of the archive, every member's data, the manifest, and that the
    /// package holds what the manifest states, and no other kernel or directory of one. Throws
    /// HEXFileNotFoundException when there is no file and HEXAlgException when it cannot be opened; all else
    /// is a finding.
    /// @param jobs so many threads, the calling one among them, may take part
    static PackageVerification of(const std::string& path, std::size_t jobs = 1);
};
