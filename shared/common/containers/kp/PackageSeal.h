#pragma once

#include "containers/kp/KernelAddition.h"

#include <cstdint>
#include <string>

/// Verifies the digest of a package of this format version and posts 17-1396 unless it holds; both once for
/// each path and process.
void checkPackageSeal(const std::string& path, std::uint32_t versionMajor, std::uint32_t versionMinor);

/// Verifies the digest anew. Throws HKPSealBroken when it does not hold, or is missing although the format
/// has one; posts as checkPackageSeal does.
void requirePackageSeal(const std::string& path, std::uint32_t versionMajor, std::uint32_t versionMinor);

/// Whether a change of the package is to seal it anew. Verifies the digest where that hangs on it, and posts
/// as checkPackageSeal does.
bool sealsAnew(const std::string& path, std::uint32_t versionMajor, std::uint32_t versionMinor,
               BrokenSeal brokenSeal);
