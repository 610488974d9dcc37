#include "containers/kp/PackageDigest.h"

#include "platform/zip/HUTZip.h"

PackageDigest checkPackageDigest(const std::string& path, std::uint32_t versionMajor,
                                 std::uint32_t versionMinor) {
    if (!formatHasDigest(versionMajor, versionMinor)) return PackageDigest::Missing;
    switch (versionMajor == 1 ? HUTZip::checkIntegrity(path) : HUTZip::checkIntegrityEn(path)) {
        case 0:
            return PackageDigest::Valid;
        case 1:
            return PackageDigest::Missing;
        case 2:
            return PackageDigest::Mismatch;
        default:
            return PackageDigest::Unreadable;
    }
}
