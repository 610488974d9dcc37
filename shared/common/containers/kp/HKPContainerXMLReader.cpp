#include "containers/kp/HKPContainerXMLReader.h"

#include "containers/design/Documents.h"
#include "containers/kernel/PackageDocument.h"
#include "containers/kp/KernelParts.h"
#include "containers/kp/PackageLayout.h"
#include "platform/base/HI18N.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/messages/DocumentMessages.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <unordered_map>

namespace {

using KPContainer::isYes;

/// The value of an optional number; 0 where the manifest has none, whatever a new record holds.
std::uint32_t presentOrZero(const KPContainer::Number& number) {
    return number.isPresent() ? number.get() : 0;
}

bool beginsLikeADocument(const std::string& path) {
    char first = 0;
    return HUTFile::isFile(path) && disk::readAt(disk::open(path, O_RDONLY), 0, &first, 1) == 1 &&
           first == '<';
}

/// What is at the path now; none when that is a manifest of its own.
std::shared_ptr<const ArchiveSnapshot> openPackage(const std::string& path) {
    return beginsLikeADocument(path) ? nullptr : ArchiveSnapshot::open(path);
}

std::string manifestOf(const std::string& path, const std::shared_ptr<const ArchiveSnapshot>& package) {
    if (!package) return lmx60::readBytes(path);
    if (package->find(layout::manifest) == nullptr)
        throw HEXAlgException("'" + path + "' has no " + layout::manifest + ", so it is no kernel package");
    return readPackageDocument(path, layout::manifest, package);
}

KPContainer::Root parseManifest(const std::string& path,
                                const std::shared_ptr<const ArchiveSnapshot>& package,
                                lmx60::ElementTree* tree = nullptr) {
    DocumentMessages messages(path);
    const auto postUnknown = [&](const lmx60::Error& unknown) {
        messages.post("@17-2005@%s%s%d", {unknown.text, path, std::to_string(unknown.line)});
    };
    auto root = documents::reading(
        path, [&] { return lmx60::parse<KPContainer::Root>(manifestOf(path, package), postUnknown, tree); });
    messages.finish();
    return root;
}

}  // namespace

KPContainer::Root HKPContainerXMLReader::readManifest(const std::string& path,
                                                      const std::shared_ptr<const ArchiveSnapshot>& version,
                                                      lmx60::ElementTree* tree) {
    return parseManifest(path, version ? version : openPackage(path), tree);
}

void HKPContainerXMLReader::parseKPContainer() {
    parsePackage();
}

std::shared_ptr<const ArchiveSnapshot> HKPContainerXMLReader::parsePackage(
    const OnDescription& onDescription) {
    return parse_([&](const std::string& name, const Package& package) {
        return describe_(name, package, onDescription);
    });
}

void HKPContainerXMLReader::parseEntries() {
    parse_([&](const std::string& name, const Package& package) -> Described {
        try {
            return describe_(name, package);
        } catch (const HEXInterrupted&) {
            throw;
        } catch (const std::exception&) {
            return {};
        }
    });
}

HKPContainerXMLReader::Package HKPContainerXMLReader::parse_(
    const std::function<Described(const std::string& kernelName, const Package&)>& describe) {
    auto package = version_ ? version_ : openPackage(path_);
    const KPContainer::Root root = parseManifest(path_, package);
    container_.setVersionMajor(root.VersionMajor.get());
    container_.setVersionMinor(root.VersionMinor.get());
    container_.setSoftwareVersionMajor(presentOrZero(root.SoftwareVersionMajor));
    container_.setSoftwareVersionMinor(presentOrZero(root.SoftwareVersionMinor));
    parseRoot_(root, [&](const std::string& name) { return describe(name, package); });
    container_.setIsIpCacheDir(isYes(root.IpCache));
    return package;
}

HKPContainerXMLReader::Described HKPContainerXMLReader::describe_(const std::string& kernelName,
                                                                  const Package& package,
                                                                  const OnDescription& onDescription) const {
    HCOContainerKernelXMLReader description(path_, kernelName, package);
    const Described described{description.getDebug(), description.isRtl()};
    if (onDescription) onDescription(kernelName, description);
    return described;
}

void HKPContainerXMLReader::parseRoot_(const KPContainer::Root& root, const Describe& describe) {
    parseKPKernels_(root.Kernels, describe);
    if (root.IpCaches) parseKPIpCaches_(*root.IpCaches);
}

void HKPContainerXMLReader::parseKPKernels_(const KPContainer::Kernels& kernels, const Describe& describe) {
    std::unordered_map<std::string, Described> described;
    for (const KPContainer::Kernel& kernel : kernels.Kernel) {
        HUTInterrupt::check();
        const std::string name = HI18N::convert(kernel.Name.get());
        std::vector<HKPKernel::SupportedFlowType> flows;
        if (kernel.SupportedFlows) flows = parseSupportedFlows_(*kernel.SupportedFlows);
        const auto known = described.find(name);
        const Described description =
            known != described.end() ? known->second : described.emplace(name, describe(name)).first->second;
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
