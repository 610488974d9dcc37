#include "containers/lint/PackageFacts.h"

#include "containers/design/Documents.h"
#include "containers/kernel/PackageDocument.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageRefusals.h"
#include "platform/base/HI18N.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>

namespace kfab::lint {
namespace {

std::string folderIn(const KPContainer::Text& text) {
    const std::string stated = HI18N::convert(text.get());
    return std::string(HUTPathUtils::withoutTrailingSeparators(stated));
}

/// Flows that are made of hardware.
bool needsIp(const KPContainer::Kernel& kernel) {
    if (!kernel.SupportedFlows) return false;
    const auto& flows = kernel.SupportedFlows->SupportedFlow;
    return std::any_of(flows.begin(), flows.end(), [](const KPContainer::SupportedFlow& flow) {
        return flow.ordinal == 2 || flow.ordinal == 3;
    });
}

}  // namespace

PackageFacts::PackageFacts(const std::string& path) : archive_(ArchiveSnapshot::open(path)) {
    lmx60::ElementTree tree;
    manifest_ = HKPContainerXMLReader::readManifest(path, archive_, &tree);
    for (const KPContainer::Kernel& kernel : manifest_.Kernels.Kernel)
        entries_.push_back(entryOf(kernel));
    std::size_t at = 0;
    for (const lmx60::Element kernel : tree.root().child("Kernels").children())
        if (kernel.name() == "Kernel") entries_[at++].line = kernel.line();
    for (at = 0; at < entries_.size(); ++at)
        usersOf_[HSTStringUtils::foldCase(entries_[at].ipFolder)].push_back(at);
}

PackageFacts::Entry PackageFacts::entryOf(const KPContainer::Kernel& kernel) const {
    Entry entry{.name = HI18N::convert(kernel.Name.get()),
                .folder = folderIn(kernel.Dir),
                .ipFolder = folderIn(kernel.IP),
                .topIp = folderIn(kernel.TopIpDir),
                .needsIp = needsIp(kernel)};
    const bool isThere = entry.topIp.empty() || entry.topIp == "." ||
                         archive_->isDirectory(HUTPathUtils::join(layout::ipRepo, entry.topIp)) ||
                         archive_->isDirectory(HUTPathUtils::join(entry.ipFolder, entry.topIp));
    if (isThere) entry.topIp.clear();
    return entry;
}

std::string PackageFacts::read(const std::string& member) const {
    return readPackageDocument(archive_->path(), member, archive_);
}

std::size_t PackageFacts::require(const std::string& name) const {
    const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
        return HSTStringUtils::equalsIgnoreCase(entry.name, name);
    });
    if (found == entries_.end())
        throw HKPKernelNotFound("Kernel '" + name + "' was not found inside KP container '" +
                                archive_->path() + "'\n");
    return static_cast<std::size_t>(found - entries_.begin());
}

KernelFacts PackageFacts::describedFactsOf(std::size_t kernel) const {
    const Entry& entry = entries_[kernel];
    KernelFacts facts;
    facts.kernel = entry.name;
    facts.document = HUTPathUtils::join(entry.folder, layout::kernelXml);
    facts.entry = EntryFacts{layout::manifest, entry.line, entry.topIp};
    std::string document = read(facts.document);
    documents::reading(facts.document, [&] { takeDescription(facts, std::move(document)); });
    return facts;
}

KernelFacts PackageFacts::factsOf(std::size_t kernel) const {
    KernelFacts facts = describedFactsOf(kernel);
    const Entry& entry = entries_[kernel];
    takeIp(facts, entry);
    takeStrays(facts, entry.folder);
    std::sort(facts.strays.begin(), facts.strays.end());
    facts.strays.erase(std::unique(facts.strays.begin(), facts.strays.end()), facts.strays.end());
    return facts;
}

IpFiles PackageFacts::filesIn(const std::string& folder) const {
    const auto entryOf = [this, folder](const std::string& name) -> const ArchiveEntry* {
        const auto positions = archive_->positionsNamed(HUTPathUtils::join(folder, name));
        return positions.empty() ? nullptr : &archive_->entries()[positions.front()];
    };
    return {.sizeOf = [entryOf](const std::string& name) -> std::optional<std::uint64_t> {
                const ArchiveEntry* entry = entryOf(name);
                if (entry == nullptr) return {};
                return entry->size;
            },
            .read = [this, entryOf](const std::string& name) { return archive_->read(*entryOf(name)); }};
}

void PackageFacts::takeIp(KernelFacts& facts, const Entry& entry) const {
    IpFacts& ip = facts.ip;
    ip.document = HUTPathUtils::join(entry.ipFolder, layout::ipDefinition);
    if (entry.ipFolder.empty() || !hasFile(ip.document)) {
        ip.state = entry.needsIp ? IpState::Missing : IpState::NotNeeded;
        return;
    }
    takeComponent(ip, read(ip.document), filesIn(entry.ipFolder));
    takeStrays(facts, entry.ipFolder);
    takeSharing(facts, entry.ipFolder, entry.name);
}

void PackageFacts::takeSharing(KernelFacts& facts, const std::string& ipFolder,
                               const std::string& ownName) const {
    const auto users = usersOf_.find(HSTStringUtils::foldCase(ipFolder));
    if (users == usersOf_.end()) return;
    const auto isOther = [&](std::size_t entry) {
        return !HSTStringUtils::equalsIgnoreCase(entries_[entry].name, ownName);
    };
    facts.sharingCount =
        static_cast<std::size_t>(std::count_if(users->second.begin(), users->second.end(), isOther));
    const auto first = std::find_if(users->second.begin(), users->second.end(), isOther);
    if (first != users->second.end()) facts.sharing = entries_[*first].name;
}

void PackageFacts::takeStrays(KernelFacts& facts, const std::string& folder) const {
    for (const std::uint32_t position : archive_->positionsInFolder(folder)) {
        const ArchiveEntry& member = archive_->entries()[position];
        if (!member.isDirectory() && isStray(member.name)) facts.strays.emplace_back(member.name);
    }
}

void PackageFacts::takeNeighbours(KernelFacts& facts, const KernelAddition& addition) const {
    if (facts.entry && archive_->isDirectory(HUTPathUtils::join(layout::ipRepo, addition.topIpDir)))
        facts.entry->topIp.clear();
    if (addition.ipDir.empty() || facts.vlnv.empty()) return;
    std::string folder = facts.vlnv;
    std::replace_if(
        folder.begin(), folder.end(), [](char c) { return c == '.' || c == ':'; }, '_');
    takeSharing(facts, HUTPathUtils::join(layout::ipRepo, folder), addition.kernelName);
}

}  // namespace kfab::lint
