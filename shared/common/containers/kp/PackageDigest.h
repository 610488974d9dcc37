#pragma once

#include <cstdint>
#include <string>

/// What a package's digest tells.
enum class PackageDigest { Valid, Missing, Mismatch, Unreadable };

/// Whether packages of this format version carry a digest: those from 1.1 on do.
constexpr bool formatHasDigest(std::uint32_t versionMajor, std::uint32_t versionMinor) {
    return versionMajor > 1 || (versionMajor == 1 && versionMinor >= 1);
}

/// Verifies the digest that a package of this format version carries; that of format 1.1 is one of its own.
PackageDigest checkPackageDigest(const std::string& path, std::uint32_t versionMajor,
                                 std::uint32_t versionMinor);
