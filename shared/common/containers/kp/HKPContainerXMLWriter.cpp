#include "containers/kp/HKPContainerXMLWriter.h"

#include "containers/kp/KernelParts.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/SoftwareVersion.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HI18N.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/xml/Writer.h"
#include "platform/zip/ArchiveEdit.h"
#include "platform/zip/Iostreams.h"

namespace {

std::wstring yesOrNo(bool value) {
    return value ? L"yes" : L"no";
}

}  // namespace

void HKPContainerXMLWriter::writeKPContainer(bool ipRepoLayout) const {
    const std::string document = document_(ipRepoLayout);
    isl::iostreams::device::file_sink sink(path_, layout::manifest);
    if (!sink.is_open()) throw HXMLException("Failed to open '" + path_ + "' for writing\n");
    sink.write(document.data(), static_cast<std::streamsize>(document.size()));
    try {
        sink.close();
    } catch (const HEXAlgException& failure) {
        ComMsgMgr::raise("@17-1310@", {}, failure.what());
    }
}

void HKPContainerXMLWriter::writeKPContainer(bool ipRepoLayout, ArchiveEdit& edit) const {
    edit.addLast(layout::manifest, document_(ipRepoLayout));
}

std::uint32_t HKPContainerXMLWriter::formatMajor(bool ipRepoLayout) {
    return ipRepoLayout ? KPContainer::Root().VersionMajor.get() : 2;
}

std::string HKPContainerXMLWriter::document_(bool ipRepoLayout) const {
    const SoftwareVersion software = SoftwareVersion::running();
    KPContainer::Root root;
    root.VersionMajor.set(formatMajor(ipRepoLayout));
    root.VersionMinor.set(0);
    root.SoftwareVersionMajor.set(software.major());
    root.SoftwareVersionMinor.set(software.minor());
    root.IpCache.set(yesOrNo(container_.getIsIpCacheDir()));
    writeRoot_(root);
    try {
        return lmx60::toString(root);
    } catch (const lmx60::WriteError& error) {
        ComMsgMgr::raise("@17-1377@%s%s", {error.what(), path_});
    }
}

void HKPContainerXMLWriter::writeRoot_(KPContainer::Root& root) const {
    const auto [firstKernel, lastKernel] = container_.getKPKernelRange();
    for (auto kernel = firstKernel; kernel != lastKernel; ++kernel) {
        const HKPKernel& from = **kernel;
        KPContainer::Kernel& to = root.Kernels.Kernel.append();
        to.Name.set(HI18N::convert(from.getName()));
        to.Dir.set(HI18N::convert(from.getDirectory()));
        to.IP.set(HI18N::convert(from.getIpDir()));
        to.TopIpDir.set(HI18N::convert(from.getTopIpDir()));
        to.ProjectID.set(HI18N::convert(from.getProjectID()));
        for (const KernelPart& part : kernelParts)
            if (part.flag != nullptr) (to.*part.flag).set(yesOrNo((from.*part.isSet)()));
        writeSupportedFlows_(from, to.SupportedFlows.getOrCreate());
    }
    const auto [firstCache, lastCache] = container_.getIpCachesRange();
    for (auto cache = firstCache; cache != lastCache; ++cache)
        root.IpCaches.getOrCreate().Cache.append().CacheDir.set(HI18N::convert(*cache));
}

void HKPContainerXMLWriter::writeSupportedFlows_(const HKPKernel& kernel,
                                                 KPContainer::SupportedFlows& flows) const {
    const auto [first, last] = kernel.getSupportedFlowRange();
    for (auto flow = first; flow != last; ++flow) {
        if (*flow >= HKPKernel::CPU_EMU && *flow <= HKPKernel::SYSTEM) {
            flows.SupportedFlow.append({static_cast<int>(*flow) + 1});
        } else {
            ComMsgMgr::post("@17-1313@%d%s", {std::to_string(static_cast<int>(*flow)), path_});
        }
    }
}
