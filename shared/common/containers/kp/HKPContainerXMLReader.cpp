#include "containers/kp/HKPContainerXMLReader.h"

#include "containers/design/Documents.h"
#include "containers/kernel/PackageDocument.h"
#include "containers/kp/KernelParts.h"
#include "containers/kp/PackageLayout.h"
#include "platform/base/HI18N.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTFile.h"
#include "platform/messages/DocumentMessages.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <fstream>
#include <unordered_map>

namespace {

using KPContainer::isYes;

/// The value of an optional number; 0 where the manifest has none, whatever a new record holds.
std::uint32_t presentOrZero(const KPContainer::Number& number) {
    return number.isPresent() ? number.get() : 0;
}

/// What the container keeps of a kernel's description.
struct Described {
    bool isDebug;
    bool isRtl;
};

bool beginsLikeADocument(const std::string& path) {
    return HUTFile::isFile(path) && std::ifstream(path, std::ios::binary).peek() == '<';
}

std::string manifestOf(const std::string& path) {
    std::shared_ptr<const ArchiveSnapshot> archive;
    try {  // tells what is wrong with an archive that the source could only not open
        archive = ArchiveSnapshot::open(path);
    } catch (const HEXAlgException&) {
        if (beginsLikeADocument(path)) return lmx60::readBytes(path);
        throw;
    }
    if (archive->find(layout::manifest) == nullptr)
        throw HEXAlgException("'" + path + "' has no " + layout::manifest + ", so it is no kernel package");
    return readPackageDocument(path, layout::manifest);
}

}  // namespace

void HKPContainerXMLReader::parseKPContainer() {
    parseKPContainer([](const std::string&, HCOContainerKernelXMLReader&) {});
}

KPContainer::Root HKPContainerXMLReader::readManifest(const std::string& path) {
    DocumentMessages messages(path);
    const auto postUnknown = [&](const lmx60::Error& unknown) {
        messages.post("@17-2005@%s%s%d", {unknown.text, path, std::to_string(unknown.line)});
    };
    auto root = documents::reading(
        path, [&] { return lmx60::parse<KPContainer::Root>(manifestOf(path), postUnknown); });
    messages.finish();
    return root;
}

void HKPContainerXMLReader::parseKPContainer(const OnDescription& onDescription) {
    const ArchiveSnapshot::Hold version(path_);
    const KPContainer::Root root = readManifest(path_);
    container_.setVersionMajor(root.VersionMajor.get());
    container_.setVersionMinor(root.VersionMinor.get());
    container_.setSoftwareVersionMajor(presentOrZero(root.SoftwareVersionMajor));
    container_.setSoftwareVersionMinor(presentOrZero(root.SoftwareVersionMinor));
    parseRoot_(root, onDescription);
    container_.setIsIpCacheDir(isYes(root.IpCache));
}

void HKPContainerXMLReader::parseRoot_(const KPContainer::Root& root, const OnDescription& onDescription) {
    parseKPKernels_(root.Kernels, onDescription);
    if (root.IpCaches) parseKPIpCaches_(*root.IpCaches);
}

void HKPContainerXMLReader::parseKPKernels_(const KPContainer::Kernels& kernels,
                                            const OnDescription& onDescription) {
    std::unordered_map<std::string, Described> described;
    const auto describe = [&](const std::string& name) {
        const auto known = described.find(name);
        if (known != described.end()) return known->second;
        HCOContainerKernelXMLReader description(path_, name);
        const Described read{description.getDebug(), description.isRtl()};
        onDescription(name, description);
        return described.emplace(name, read).first->second;
    };
    for (const KPContainer::Kernel& kernel : kernels.Kernel) {
        HUTInterrupt::check();
        const std::string name = HI18N::convert(kernel.Name.get());
        std::vector<HKPKernel::SupportedFlowType> flows;
        if (kernel.SupportedFlows) flows = parseSupportedFlows_(*kernel.SupportedFlows);
        const Described description = describe(name);
        HKPKernel* const added = container_.addKPKernel(
            name, HI18N::convert(kernel.Dir.get()), HI18N::convert(kernel.IP.get()),
            HI18N::convert(kernel.TopIpDir.get()), HI18N::convert(kernel.ProjectID.get()), flows, false,
            false, false, false, description.isDebug, description.isRtl, false, true);
        for (const KernelPart& part : kernelParts)
            if (part.flag != nullptr) (added->*part.set)(isYes(kernel.*part.flag));
    }
}

std::vector<HKPKernel::SupportedFlowType> HKPContainerXMLReader::parseSupportedFlows_(
    const KPContainer::SupportedFlows& flows) {
    std::vector<HKPKernel::SupportedFlowType> parsed;
    for (const KPContainer::SupportedFlow flow : flows.SupportedFlow) {
        if (flow.ordinal >= 1 && flow.ordinal <= 3) {
            parsed.push_back(static_cast<HKPKernel::SupportedFlowType>(flow.ordinal - 1));
        } else {
            ComMsgMgr::post("@17-1312@%d%s", {std::to_string(flow.ordinal), path_});
        }
    }
    return parsed;
}

void HKPContainerXMLReader::parseKPIpCaches_(const KPContainer::IpCaches& caches) {
    for (const KPContainer::Cache& cache : caches.Cache) {
        HUTInterrupt::check();
        container_.addIpCacheIfUnique(HI18N::convert(cache.CacheDir.get()));
    }
}
