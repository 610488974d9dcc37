#include "containers/kp/PackageSeal.h"

#include "containers/kp/PackageDigest.h"
#include "containers/kp/PackageRefusals.h"
#include "platform/messages/ComMsgMgr.h"

#include <unordered_set>

namespace {

std::unordered_set<std::string>& checkedPaths() {
    static std::unordered_set<std::string> paths;
    return paths;
}

const char* reasonAgainst(PackageDigest digest) {
    switch (digest) {
        case PackageDigest::Valid:
            return "holds";
        case PackageDigest::Missing:
            return "is missing";
        case PackageDigest::Mismatch:
            return "does not hold: the package was changed since it was sealed";
        case PackageDigest::Unreadable:
            return "cannot be read";
    }
    return "";
}

/// A package of a format that has no digest has none to break.
bool isBroken(PackageDigest digest, std::uint32_t versionMajor, std::uint32_t versionMinor) {
    return digest != PackageDigest::Valid && formatHasDigest(versionMajor, versionMinor);
}

/// The first look at a path tells.
void note(const std::string& path, PackageDigest digest) {
    if (checkedPaths().insert(path).second && digest != PackageDigest::Valid)
        ComMsgMgr::post("@17-1396@%s", {path});
}

}  // namespace

void checkPackageSeal(const std::string& path, std::uint32_t versionMajor, std::uint32_t versionMinor) {
    if (!checkedPaths().contains(path)) note(path, checkPackageDigest(path, versionMajor, versionMinor));
}

void requirePackageSeal(const std::string& path, std::uint32_t versionMajor, std::uint32_t versionMinor) {
    const PackageDigest digest = checkPackageDigest(path, versionMajor, versionMinor);
    if (isBroken(digest, versionMajor, versionMinor))
        throw HKPSealBroken("The digest of '" + path + "' " + reasonAgainst(digest) + "\n");
    note(path, digest);
}

bool sealsAnew(const std::string& path, std::uint32_t versionMajor, std::uint32_t versionMinor,
               BrokenSeal brokenSeal) {
    if (brokenSeal == BrokenSeal::Leave) {
        const PackageDigest digest = checkPackageDigest(path, versionMajor, versionMinor);
        note(path, digest);
        return !isBroken(digest, versionMajor, versionMinor);
    }
    (brokenSeal == BrokenSeal::Refuse ? requirePackageSeal : checkPackageSeal)(path, versionMajor,
                                                                               versionMinor);
    return true;
}
