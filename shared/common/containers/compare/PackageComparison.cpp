#include "containers/compare/Comparison.h"
#include "containers/compare/FileComparison.h"
#include "containers/compare/ItemPairs.h"
#include "containers/compare/Meaning.h"
#include "containers/compare/RecordComparison.h"
#include "containers/compare/WholeItem.h"
#include "containers/kernel/HCOContainerKernelXMLReader.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageRefusals.h"
#include "containers/kp/PackageSeal.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HI18N.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/base/HUTProgress.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"

#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace kfab::compare {
namespace {

using KernelEntry = KPContainer::Kernel;
using Text = KPContainer::Text;

std::string narrow(const Text& text) {
    return HI18N::convert(text.get());
}

std::string folderIn(const Text& text) {
    return std::string(HUTPathUtils::withoutTrailingSeparators(narrow(text)));
}

/// One of the two packages.
struct Package {
    explicit Package(const std::shared_ptr<const ArchiveSnapshot>& archive);

    void keepKernel(const std::string& name);
    HCOContainerKernelXMLReader description(const std::string& kernel) const;

    std::string path;
    Members members;
    KPContainer::Root manifest;  ///< without its kernels
    std::vector<KernelEntry> kernels;
    PackageSeal seal;
    DigestVerdict digest;
};

std::shared_ptr<const ArchiveSnapshot> openExisting(const std::string& path) {
    if (path.empty() || !HUTFile::exists(path)) throw HEXFileNotFoundException(path);
    return ArchiveSnapshot::open(path);
}

/// Of kernels whose names differ in case alone, readers know the last one.
std::vector<KernelEntry> knownKernels(const KPContainer::Kernels& all) {
    std::unordered_set<std::string> names;
    std::vector<KernelEntry> known;
    for (std::size_t at = all.Kernel.size(); at-- > 0;)
        if (names.insert(HSTStringUtils::foldCase(narrow(all.Kernel.get(at).Name))).second)
            known.push_back(all.Kernel.get(at));
    return {known.rbegin(), known.rend()};
}

Package::Package(const std::shared_ptr<const ArchiveSnapshot>& archive)
    : path(archive->path()),
      members(archive),
      manifest(HKPContainerXMLReader::readManifest(path, archive)),
      kernels(knownKernels(std::exchange(manifest.Kernels, {}))),
      seal{path, archive, manifest.VersionMajor.get(), manifest.VersionMinor.get()},
      digest(seal.verify()) {
    members.takeFile(layout::manifest);
}

void Package::keepKernel(const std::string& name) {
    std::erase_if(kernels, [&](const KernelEntry& kernel) {
        return !HSTStringUtils::equalsIgnoreCase(narrow(kernel.Name), name);
    });
}

HCOContainerKernelXMLReader Package::description(const std::string& kernel) const {
    HCOContainerKernelXMLReader description(path, kernel, members.archive());
    description.parse();
    return description;
}

class PackageComparison {
public:
    PackageComparison(Package& before, Package& now, Comparison& comparison)
        : before_(before),
          now_(now),
          comparison_(comparison),
          files_(*before.members.archive(), *now.members.archive(), comparison.differences) {}

    void compareKernels();
    void compareWhole();

private:
    void compareKernel(const KernelEntry& before, const KernelEntry& now);
    void compareDescriptions(const std::string& before, const std::string& now);
    void compareIps(const std::string& kernel, const std::string& before, const std::string& now);
    void compareIpFolders(const std::string& kernel, const std::string& before, const std::string& now);
    void tellKernel(Change change, const KernelEntry& kernel, Package& owner);
    void tellIp(const std::string& kernel, Change change, const std::string& folder, Package& owner);
    void tellIpFiles(const std::string& kernel, const std::string& folder, const std::string& more);
    void passOverOtherCaches();

    struct ComparedIp {
        std::string kernel;
        bool isSame = true;
    };

    Package& before_;
    Package& now_;
    Comparison& comparison_;
    FileComparison files_;
    std::map<std::pair<std::string, std::string>, ComparedIp> comparedIps_;  // by their folders
    std::unordered_map<std::string, std::size_t> oldIpSizes_, newIpSizes_;   // of those, in files
};

/// Kernels that only one package has come last, when it is known what they share with others.
void PackageComparison::compareKernels() {
    const auto namesOf = [](const Package& package, auto spell) {
        std::vector<std::string> names;
        for (const KernelEntry& kernel : package.kernels)
            names.push_back(spell(narrow(kernel.Name)));
        return names;
    };
    const auto asItIs = [](std::string name) { return name; };
    auto pairs = pairByKeys(namesOf(before_, asItIs), namesOf(now_, asItIs));
    pairTheRest(pairs, namesOf(before_, HSTStringUtils::foldCase), namesOf(now_, HSTStringUtils::foldCase));
    for (const ItemPair& pair : pairs)
        if (pair.before && pair.now) compareKernel(before_.kernels[*pair.before], now_.kernels[*pair.now]);
    for (const ItemPair& pair : pairs) {
        if (!pair.now) tellKernel(Change::Removed, before_.kernels[*pair.before], before_);
        if (!pair.before) tellKernel(Change::Added, now_.kernels[*pair.now], now_);
    }
}

void PackageComparison::compareKernel(const KernelEntry& before, const KernelEntry& now) {
    const std::string name = narrow(now.Name);
    RecordComparison(name, comparison_.differences).compare(before, now);
    compareDescriptions(narrow(before.Name), name);
    compareIps(name, folderIn(before.IP), folderIn(now.IP));
    const auto compareFolder = [&](const Text KernelEntry::*folder) {
        const auto take = [](Package& package, const std::string& name) {
            return name.empty() ? std::vector<Member>() : package.members.take(name);
        };
        files_.compare(name, take(before_, folderIn(before.*folder)), take(now_, folderIn(now.*folder)));
    };
    compareFolder(&KernelEntry::Dir);
    compareFolder(&KernelEntry::Name);
}

void PackageComparison::compareDescriptions(const std::string& before, const std::string& now) {
    const auto entryOf = [](Package& package, const std::string& kernel) {
        const std::string member = HUTPathUtils::join(kernel, layout::kernelXml);
        const ArchiveEntry* entry = package.members.takeFile(member);
        if (entry == nullptr)
            throw HEXAlgException("Kernel '" + kernel + "' of '" + package.path + "' has no description: '" +
                                  member + "' is not in the package");
        return entry;
    };
    const ArchiveEntry& oldEntry = *entryOf(before_, before);
    const ArchiveEntry& newEntry = *entryOf(now_, now);
    if (files_.isSame(oldEntry, newEntry)) return;
    const auto oldDescription = before_.description(before), newDescription = now_.description(now);
    const auto note = [&](const Package& package, const HCOContainerKernelXMLReader& description) {
        if (description.getRoot()->isIncomplete)
            comparison_.notes.push_back("The description of kernel '" + now + "' in '" + package.path +
                                        "' holds what is not known; that was not compared");
    };
    note(before_, oldDescription);
    note(now_, newDescription);
    const std::size_t told = comparison_.differences.size();
    RecordComparison(now, comparison_.differences)
        .compare(*oldDescription.getRoot(), *newDescription.getRoot());
    if (told == comparison_.differences.size()) files_.tellChanged(now, oldEntry, newEntry);
}

void PackageComparison::compareIps(const std::string& kernel, const std::string& before,
                                   const std::string& now) {
    const auto [known, isNew] = comparedIps_.try_emplace({before, now}, ComparedIp{kernel});
    ComparedIp& compared = known->second;
    if (!isNew) {
        if (!compared.isSame)
            tellIpFiles(kernel, now,
                        ", that of kernel " + HUTPathUtils::quoted(compared.kernel) + " as well");
        return;
    }
    const std::size_t told = comparison_.differences.size();
    if (now.empty() && !before.empty())
        tellIp(kernel, Change::Removed, before, before_);
    else if (before.empty() && !now.empty())
        tellIp(kernel, Change::Added, now, now_);
    else if (!now.empty())
        compareIpFolders(kernel, before, now);
    compared.isSame = told == comparison_.differences.size();
}

/// Each file is compared but a few times, however many kernels share IPs in one package and not in the other.
/// A folder is held against the one of its name in any case.
void PackageComparison::compareIpFolders(const std::string& kernel, const std::string& before,
                                         const std::string& now) {
    const auto [old, isOldNew] = oldIpSizes_.try_emplace(before);
    const auto [current, isCurrentNew] = newIpSizes_.try_emplace(now);
    const bool isMoved = before != now;
    if (isMoved && !isOldNew && !isCurrentNew) return;  // the manifest says which of these it took
    if (isOldNew) old->second = before_.members.takeAgain(before).size();
    if (isCurrentNew) current->second = now_.members.takeAgain(now).size();
    if (isMoved && isOldNew != isCurrentNew && old->second != current->second)
        return tellIpFiles(kernel, now, {});
    files_.compare(kernel, before_.members.takeAgain(before), now_.members.takeAgain(now));
}

void PackageComparison::tellIpFiles(const std::string& kernel, const std::string& folder,
                                    const std::string& more) {
    comparison_.differences.push_back(
        {.kernel = kernel, .path = "IP " + HUTPathUtils::quoted(folder) + more, .field = "files"});
}

/// Its files come or go with it.
void PackageComparison::tellIp(const std::string& kernel, Change change, const std::string& folder,
                               Package& owner) {
    owner.members.take(folder);
    comparison_.differences.push_back(
        wholeItem(kernel, Kind::Inside, change, "IP " + HUTPathUtils::quoted(folder), folder));
}

/// Its files come or go with it.
void PackageComparison::tellKernel(Change change, const KernelEntry& kernel, Package& owner) {
    const Meaning& meaning = *meaningOf(*KPContainer::Kernels::table.begin());
    const std::string name = narrow(kernel.Name);
    const Kind kind = meaning.judge({.change = change, .before = {}, .now = {}});
    comparison_.differences.push_back(wholeItem(name, kind, change, std::string(meaning.noun), name));
    for (const Text KernelEntry::*folder : {&KernelEntry::Dir, &KernelEntry::Name, &KernelEntry::IP})
        if (const std::string place = folderIn(kernel.*folder); !place.empty()) owner.members.take(place);
}

void PackageComparison::compareWhole() {
    RecordComparison({}, comparison_.differences).compare(before_.manifest, now_.manifest);
    passOverOtherCaches();
    files_.compare({}, before_.members.takeRest(), now_.members.takeRest());
}

/// The files of a cache come or go with it.
void PackageComparison::passOverOtherCaches() {
    const auto cachesOf = [](const Package& package) {
        std::unordered_set<std::string> names;
        if (package.manifest.IpCaches)
            for (const KPContainer::Cache& cache : package.manifest.IpCaches->Cache)
                names.insert(folderIn(cache.CacheDir));
        return names;
    };
    const auto oldCaches = cachesOf(before_), newCaches = cachesOf(now_);
    const auto passOver = [](Package& package, const auto& caches, const auto& others) {
        for (const std::string& name : caches)
            if (!others.contains(name)) package.members.take(HUTPathUtils::join(layout::ipCache, name));
    };
    passOver(before_, oldCaches, newCaches);
    passOver(now_, newCaches, oldCaches);
}

}  // namespace

Comparison comparePackages(const std::string& oldPackage, const std::string& newPackage,
                           const std::optional<std::string>& kernel) {
    const auto before = openExisting(oldPackage), now = openExisting(newPackage);
    const HUTProgress progress([&] { return 2 * before->digestEnd() + now->digestEnd(); });
    Package old(before), current(now);
    Comparison comparison;
    comparison.oldDigest = old.digest;
    comparison.newDigest = current.digest;
    for (const Package* package : {&old, &current})
        if (std::string flaw = package->seal.flaw(package->digest); !flaw.empty())
            comparison.notes.push_back(std::move(flaw));
    PackageComparison packages(old, current, comparison);
    if (kernel) {
        old.keepKernel(*kernel);
        current.keepKernel(*kernel);
        if (old.kernels.empty() && current.kernels.empty())
            throw HKPKernelNotFound("Kernel '" + *kernel + "' was not found inside KP container '" +
                                    oldPackage + "', nor inside '" + newPackage + "'\n");
    }
    packages.compareKernels();
    if (!kernel) packages.compareWhole();
    return comparison;
}

}  // namespace kfab::compare
