#include "containers/lint/Lint.h"

#include "containers/design/Documents.h"
#include "containers/design/ProfileRecords.h"
#include "containers/kernel/KernelRecords.h"
#include "containers/kernel/PackageDocument.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/PackageLayout.h"
#include "containers/lint/Findings.h"
#include "platform/base/Exceptions.h"
#include "platform/files/DirectoryTree.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/xml/Bytes.h"
#include "platform/xml/Reader.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace kfab::lint {
namespace {

/// The document, after it was found a valid description; one of a later version may hold what is not known.
void takeDocument(KernelFacts& facts, const std::string& document) {
    const auto tree = std::make_shared<const lmx60::ElementTree>(document);
    takeDescription(facts, tree);
    lmx60::UnknownListener passOver;
    if (facts.isLater()) passOver = [](const lmx60::Error&) {};
    lmx60::parse<KernelXML::Root>(document, passOver);
}

void check(const KernelFacts& facts, Outcome& outcome) {
    Findings findings(facts, outcome);
    for (const Rule& rule : rules()) {
        findings.begin(rule);
        rule.check(facts, findings);
    }
}

std::string readExisting(const std::string& path) {
    if (path.empty() || !HUTFile::exists(path)) throw HEXFileNotFoundException(path);
    return lmx60::readBytes(path);
}

void takeLooseIp(KernelFacts& facts, const LooseKernel& kernel) {
    IpFacts& ip = facts.ip;
    if (kernel.ipDir.empty()) {
        ip.state = kernel.isComplete ? IpState::NotNeeded : IpState::NotGiven;
        return;
    }
    ip.document = HUTPathUtils::join(kernel.ipDir, layout::ipDefinition);
    ip.hasFile = [dir = kernel.ipDir](const std::string& name) {
        return HUTFile::isFile(HUTPathUtils::join(dir, name));
    };
    if (!HUTFile::isFile(ip.document)) {
        ip.state = IpState::Missing;
        return;
    }
    takeComponent(ip, lmx60::readBytes(ip.document));
    for (const TreeItem& item : DirectoryTree::walk(kernel.ipDir))
        if (!item.isDirectory && isStray(item.name))
            facts.strays.push_back(HUTPathUtils::join(kernel.ipDir, item.name));
}

void takeReport(KernelFacts& facts, const std::string& path) {
    const std::string document = readExisting(path);
    lmx60::parse<DesignXML::Profile>(document);
    facts.trees.push_back(std::make_shared<const lmx60::ElementTree>(document));
    facts.report = facts.trees.back()->root();
    facts.reportDocument = path;
}

/// The name of a folder as the manifest states it.
std::string folderOf(const std::string& stated) {
    return std::string(HUTPathUtils::withoutTrailingSeparators(stated));
}

/// What the kernels of one package have in common.
class Package {
public:
    explicit Package(const std::string& path);

    const HKPContainer& container() const { return container_; }

    KernelFacts factsOf(const HKPKernel& entry) const;

private:
    void takeIp(KernelFacts& facts, const HKPKernel& entry) const;
    void takeEntry(KernelFacts& facts, const HKPKernel& entry) const;
    void takeStrays(KernelFacts& facts, const std::string& folder) const;
    std::string read(const std::string& member) const {
        return readPackageDocument(archive_->path(), member, archive_);
    }
    bool hasFile(const std::string& name) const { return !archive_->positionsNamed(name).empty(); }

    std::shared_ptr<const ArchiveSnapshot> archive_;
    lmx60::ElementTree manifest_;
    HKPContainer container_;
    std::unordered_map<std::string, int> lines_;  // of kernels, by name
    std::unordered_map<std::string, std::vector<std::string>>
        usersOf_;  // kernels, by the directory of their IP
};

Package::Package(const std::string& path)
    : archive_(ArchiveSnapshot::open(path)), manifest_(read(layout::manifest)) {
    HKPContainerXMLReader(path, container_, archive_).parseKPContainer();
    for (const lmx60::Element kernel : manifest_.root().child("Kernels").children())
        if (const auto name = kernel.attribute("Name")) lines_.emplace(std::string(*name), kernel.line());
    const auto [first, last] = container_.getKPKernelRange();
    for (auto kernel = first; kernel != last; ++kernel)
        usersOf_[folderOf((*kernel)->getIpDir())].push_back((*kernel)->getName());
}

bool needsIp(const HKPKernel& entry) {
    return entry.isSupportedFlow(HKPKernel::HW_EMU) || entry.isSupportedFlow(HKPKernel::SYSTEM);
}

void Package::takeIp(KernelFacts& facts, const HKPKernel& entry) const {
    IpFacts& ip = facts.ip;
    const std::string folder = folderOf(entry.getIpDir());
    ip.document = HUTPathUtils::join(folder, layout::ipDefinition);
    if (folder.empty() || !hasFile(ip.document)) {
        ip.state = needsIp(entry) ? IpState::Missing : IpState::NotNeeded;
        return;
    }
    ip.hasFile = [this, folder](const std::string& name) {
        return hasFile(HUTPathUtils::join(folder, name));
    };
    takeComponent(ip, read(ip.document));
    takeStrays(facts, folder);
    facts.sharing = usersOf_.at(folder);
    std::erase(facts.sharing, entry.getName());
}

void Package::takeEntry(KernelFacts& facts, const HKPKernel& entry) const {
    const auto line = lines_.find(entry.getName());
    facts.entry = EntryFacts{layout::manifest, line == lines_.end() ? 0 : line->second, {}};
    const std::string top = folderOf(entry.getTopIpDir());
    const bool isThere = top.empty() || top == "." ||
                         archive_->isDirectory(HUTPathUtils::join(layout::ipRepo, top)) ||
                         archive_->isDirectory(HUTPathUtils::join(folderOf(entry.getIpDir()), top));
    if (!isThere) facts.entry->topIp = top;
}

void Package::takeStrays(KernelFacts& facts, const std::string& folder) const {
    for (const std::uint32_t position : archive_->positionsInFolder(folder)) {
        const ArchiveEntry& member = archive_->entries()[position];
        if (!member.isDirectory() && isStray(member.name)) facts.strays.emplace_back(member.name);
    }
}

KernelFacts Package::factsOf(const HKPKernel& entry) const {
    const std::string folder = folderOf(entry.getDirectory());
    KernelFacts facts;
    facts.kernel = entry.getName();
    facts.document = HUTPathUtils::join(folder, layout::kernelXml);
    try {
        takeDocument(facts, read(facts.document));
    } catch (const lmx60::ReadError& error) {
        documents::raiseUnreadable(error, facts.document);
    }
    takeIp(facts, entry);
    takeEntry(facts, entry);
    takeStrays(facts, folder);
    std::sort(facts.strays.begin(), facts.strays.end());
    facts.strays.erase(std::unique(facts.strays.begin(), facts.strays.end()), facts.strays.end());
    return facts;
}

}  // namespace

Outcome lintKernel(const LooseKernel& kernel) {
    KernelFacts facts;
    facts.document = kernel.kernelXml;
    const std::string* reading = &kernel.kernelXml;
    try {
        takeDocument(facts, readExisting(kernel.kernelXml));
        reading = &kernel.report;
        if (!kernel.report.empty()) takeReport(facts, kernel.report);
    } catch (const lmx60::ReadError& error) {
        documents::raiseUnreadable(error, *reading);
    }
    takeLooseIp(facts, kernel);
    Outcome outcome;
    check(facts, outcome);
    return outcome;
}

Outcome lintPackage(const std::string& package, const std::optional<std::string>& kernel) {
    if (package.empty() || !HUTFile::exists(package)) throw HEXFileNotFoundException(package);
    const Package content(package);
    Outcome outcome;
    if (kernel) {
        const HKPKernel* entry = content.container().getKPKernelByName(*kernel);
        if (entry == nullptr)
            throw HEXAlgException("Kernel '" + *kernel + "' was not found inside KP container '" + package +
                                  "'\n");
        check(content.factsOf(*entry), outcome);
        return outcome;
    }
    const auto [first, last] = content.container().getKPKernelRange();
    for (auto entry = first; entry != last; ++entry)
        check(content.factsOf(**entry), outcome);
    return outcome;
}

}  // namespace kfab::lint
