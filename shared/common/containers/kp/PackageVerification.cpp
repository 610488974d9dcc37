#include "containers/kp/PackageVerification.h"

#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/ManifestCheck.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageSeal.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HUTProgress.h"
#include "platform/files/HUTFile.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <array>
#include <iterator>
#include <utility>

#include <fcntl.h>

namespace {

/// In the order of the codes.
constexpr std::array codeTexts = {"duplicate-name", "file-and-folder", "overlapping-entry", "header-mismatch",
                                  "bad-data",       "unsafe-name",     "unaccounted-bytes", "unknown-method",
                                  "encrypted",      "unextractable"};
static_assert(codeTexts.size() == static_cast<std::size_t>(ArchiveFinding::Code::Unextractable) + 1);

std::string withoutLineEnd(std::string text) {
    while (text.ends_with('\n'))
        text.pop_back();
    return text;
}

}  // namespace

std::string PackageVerification::digestText(DigestVerdict digest) {
    constexpr std::array texts = {"valid", "missing", "mismatch", "unreadable"};
    return texts.at(static_cast<std::size_t>(digest));
}

PackageVerification PackageVerification::of(const std::string& path, std::size_t jobs) {
    if (!HUTFile::exists(path)) throw HEXFileNotFoundException(path);
    disk::open(path, O_RDONLY | O_NONBLOCK);
    PackageVerification verification;
    std::shared_ptr<const ArchiveSnapshot> archive;
    try {
        archive = ArchiveSnapshot::open(path);
    } catch (const HEXAlgException& unreadable) {
        verification.findings.push_back({"unreadable", {}, withoutLineEnd(unreadable.what())});
        return verification;
    }
    const HUTProgress progress([&] { return archive->contentSize() + archive->digestEnd(); });
    KPContainer::Root manifest;  // until it is read, one of the version that is written today
    std::vector<PackageFinding> ofManifest;
    try {
        manifest = HKPContainerXMLReader::readManifest(path, archive);
        ofManifest = checkManifest(manifest, archive);
    } catch (const HEXInterrupted&) {
        throw;
    } catch (const std::exception& unreadable) {
        ofManifest = {{"manifest", layout::manifest, withoutLineEnd(unreadable.what())}};
    }
    const PackageSeal seal{path, archive, manifest.VersionMajor.get(), manifest.VersionMinor.get()};
    for (const ArchiveFinding& flaw : archive->check(jobs, [&] { verification.digest = seal.verify(); }))
        verification.findings.push_back(
            {codeTexts.at(static_cast<std::size_t>(flaw.code)), flaw.member, flaw.text});
    std::move(ofManifest.begin(), ofManifest.end(), std::back_inserter(verification.findings));
    return verification;
}
