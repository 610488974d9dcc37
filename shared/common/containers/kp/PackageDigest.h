#pragma once

#include <cstdint>
#include <string>

/// What a package's digest tells.
enum class PackageDigest { Valid, Missing, Mismatch, Unreadable };

/// Verifies the digest that a package of this format version carries: format 1.1 has one of its own, formats
/// before it have none.
PackageDigest checkPackageDigest(const std::string& path, std::uint32_t versionMajor,
                                 std::uint32_t versionMinor);
