#include "containers/kp/PackageSeal.h"

#include "containers/kp/PackageRefusals.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/HUTZip.h"

#include <array>
#include <mutex>
#include <unordered_set>

namespace {

/// The paths that were looked at, for all threads.
class CheckedPaths {
public:
    static CheckedPaths& ofProcess() {
        static CheckedPaths paths;
        return paths;
    }
    bool contains(const std::string& path) const {
        const std::lock_guard guard(mutex_);
        return paths_.contains(path);
    }
    /// False when the path was there.
    bool insert(const std::string& path) {
        const std::lock_guard guard(mutex_);
        return paths_.insert(path).second;
    }

private:
    mutable std::mutex mutex_;
    std::unordered_set<std::string> paths_;
};

/// By the verdict on a digest that does not hold.
constexpr std::array reasons = {
    "", "is missing", "does not hold: the package was changed since it was sealed", "cannot be read"};

bool formatHasDigest(const PackageSeal& seal) {
    return seal.formatMajor > 1 || (seal.formatMajor == 1 && seal.formatMinor >= 1);
}

/// A package of a format that has no digest has none to break.
bool isBroken(const PackageSeal& seal, DigestVerdict digest) {
    return digest != DigestVerdict::Valid && formatHasDigest(seal);
}

/// The first look at a path tells.
void note(const std::string& path, DigestVerdict digest) {
    if (CheckedPaths::ofProcess().insert(path) && digest != DigestVerdict::Valid)
        ComMsgMgr::post("@17-1396@%s", {path});
}

}  // namespace

DigestVerdict PackageSeal::verify() const {
    using Label = ArchiveDigest::Label;
    if (!formatHasDigest(*this)) return DigestVerdict::Missing;
    const bool isFirst = formatMajor == 1;
    if (version) return version->checkDigest(isFirst ? Label::Sha1 : Label::Sha256);
    return static_cast<DigestVerdict>((isFirst ? HUTZip::checkIntegrity : HUTZip::checkIntegrityEn)(path));
}

std::string PackageSeal::flaw(DigestVerdict digest) const {
    if (!isBroken(*this, digest)) return "";
    return "The digest of '" + path + "' " + reasons.at(static_cast<std::size_t>(digest));
}

void PackageSeal::check() const {
    if (!CheckedPaths::ofProcess().contains(path)) note(path, verify());
}

void PackageSeal::require() const {
    const DigestVerdict digest = verify();
    if (const std::string flaw = this->flaw(digest); !flaw.empty()) throw HKPSealBroken(flaw + "\n");
    note(path, digest);
}

bool PackageSeal::isRenewed(BrokenSeal brokenSeal) const {
    if (brokenSeal == BrokenSeal::Leave) {
        const DigestVerdict digest = verify();
        note(path, digest);
        return !isBroken(*this, digest);
    }
    brokenSeal == BrokenSeal::Refuse ? require() : check();
    return true;
}
