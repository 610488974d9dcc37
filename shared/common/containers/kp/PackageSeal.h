#pragma once

#include "containers/kp/KernelAddition.h"
#include "platform/zip/ArchiveDigest.h"

#include <cstdint>
#include <memory>
#include <string>

class ArchiveSnapshot;

/// The digest of a package, held against the format that its manifest states.
struct PackageSeal {
    std::string path;
    std::shared_ptr<const ArchiveSnapshot> version;  ///< of the package; none for what is at the path
    std::uint32_t formatMajor;
    std::uint32_t formatMinor;

    /// Verifies the digest that a package of this format carries: those before 1.1 have none, and that of 1.1
    /// is one of its own.
    DigestVerdict verify() const;

    /// What is wrong with a package whose digest tells this, as a sentence; empty for nothing.
    std::string flaw(DigestVerdict digest) const;

    /// Verifies the digest and posts 17-1396 unless it holds; both once for each path and process.
    void check() const;

    /// Verifies the digest anew. Throws HKPSealBroken when it does not hold, or is missing although the
    /// format has one; posts as check() does.
    void require() const;

    /// Whether a change of the package is to seal it anew. Verifies the digest where that hangs on it, and
    /// posts as check() does.
    bool isRenewed(BrokenSeal brokenSeal) const;
};
