#include "containers/lint/LooseFacts.h"

#include "containers/design/Documents.h"
#include "containers/design/ProfileRecords.h"
#include "containers/kp/KernelParts.h"
#include "containers/kp/PackageLayout.h"
#include "containers/lint/PackageFacts.h"
#include "platform/base/Exceptions.h"
#include "platform/files/DirectoryTree.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/xml/Bytes.h"
#include "platform/xml/Reader.h"

#include <utility>

namespace kfab::lint {
namespace {

std::string readExisting(const std::string& path) {
    if (path.empty() || !HUTFile::exists(path)) throw HEXFileNotFoundException(path);
    return lmx60::readBytes(path);
}

void takeStrays(KernelFacts& facts, const std::string& directory) {
    for (const TreeItem& item : DirectoryTree::walk(directory))
        if (!item.isDirectory && isStray(item.name))
            facts.strays.push_back(HUTPathUtils::join(directory, item.name));
}

IpFiles filesIn(const std::string& directory) {
    const auto pathOf = [directory](const std::string& name) { return HUTPathUtils::join(directory, name); };
    return {.sizeOf = [pathOf](const std::string& name) -> std::optional<std::uint64_t> {
                const auto status = disk::statusIfThere(pathOf(name));
                if (!status || !S_ISREG(status->st_mode)) return {};
                return static_cast<std::uint64_t>(status->st_size);
            },
            .read = [pathOf](const std::string& name) { return lmx60::readBytes(pathOf(name)); }};
}

void takeIp(KernelFacts& facts, const LooseKernel& kernel) {
    IpFacts& ip = facts.ip;
    if (kernel.ipDir.empty()) {
        ip.state = kernel.isComplete ? IpState::NotNeeded : IpState::NotGiven;
        return;
    }
    ip.document = HUTPathUtils::join(kernel.ipDir, layout::ipDefinition);
    if (!HUTFile::isFile(ip.document)) {
        ip.state = IpState::Missing;
        return;
    }
    takeComponent(ip, lmx60::readBytes(ip.document), filesIn(kernel.ipDir));
    takeStrays(facts, kernel.ipDir);
}

void takeReport(KernelFacts& facts, const std::string& path) {
    auto tree = std::make_shared<lmx60::ElementTree>();
    lmx60::parse<DesignXML::Profile>(readExisting(path), {}, tree.get());
    facts.report = tree->root();
    facts.reportDocument = path;
    facts.trees.push_back(std::move(tree));
}

/// What is packed besides the IP.
void takeOtherStrays(KernelFacts& facts, const KernelAddition& addition) {
    for (const KernelPart& part : kernelParts)
        for (const std::string& given : part.givenBy(addition)) {
            if (part.kind != KernelPart::Kind::Directory && isStray(HUTPathUtils::lastComponent(given)))
                facts.strays.push_back(given);
            if (part.kind == KernelPart::Kind::Directory && HUTFile::isDir(given)) takeStrays(facts, given);
        }
}

}  // namespace

KernelFacts factsOf(const std::string& name, std::string document) {
    KernelFacts facts;
    facts.document = name;
    documents::reading(name, [&] { takeDescription(facts, std::move(document)); });
    return facts;
}

KernelFacts factsOf(const LooseKernel& kernel) {
    const std::string& path = kernel.kernelXml;
    KernelFacts facts = factsOf(path, documents::reading(path, [&] { return readExisting(path); }));
    if (!kernel.report.empty()) documents::reading(kernel.report, [&] { takeReport(facts, kernel.report); });
    takeIp(facts, kernel);
    return facts;
}

KernelFacts factsOf(const KernelAddition& addition) {
    KernelFacts facts = factsOf(LooseKernel{.kernelXml = addition.kernelXmlPath,
                                            .ipDir = addition.ipDir,
                                            .report = addition.designXmlPath,
                                            .isComplete = true});
    takeOtherStrays(facts, addition);
    const std::string& top = addition.topIpDir;
    const bool hasTop = top.empty() || top == "." || HUTFile::isDir(HUTPathUtils::join(addition.ipDir, top));
    if (!hasTop) facts.entry = EntryFacts{addition.kpPath, 0, top};
    if (HUTFile::exists(addition.kpPath)) PackageFacts(addition.kpPath).takeNeighbours(facts, addition);
    return facts;
}

}  // namespace kfab::lint
