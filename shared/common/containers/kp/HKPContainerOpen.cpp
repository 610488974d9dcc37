// Opening packages and judging them.

#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/PackageSeal.h"
#include "containers/kp/SoftwareVersion.h"
#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"
#include "platform/messages/ComMsgMgr.h"

namespace {

std::string joinFlows(const HKPKernel& kernel) {
    std::string joined;
    const auto [first, last] = kernel.getSupportedFlowRange();
    for (auto flow = first; flow != last; ++flow)
        joined += (flow == first ? "" : ", ") + HKPKernel::getFlowAsStr(*flow);
    return joined;
}

void requireFlow(const HKPKernel& kernel, HKPKernel::SupportedFlowType flow, const std::string& path) {
    const std::string& name = kernel.getName();
    if (kernel.isEmpty())
        throw HKPKernelRefused(
            "The kernel '" + name + "' in '" + path +
            "' is empty. Both the ip directory and the cpu sources directory cannot be empty for "
            "the kernel\n");
    if (kernel.isSupportedFlow(flow)) return;
    if (flow == HKPKernel::CPU_EMU && kernel.isRtlKernel())
        throw HKPKernelRefused("The RTL kernel '" + name + "' in '" + path +
                               "' is not supported for CPU emulation target\n");
    throw HKPKernelRefused("The kernel '" + name + "' in '" + path +
                           "' is not valid for the specified target '" + HKPKernel::getFlowAsStr(flow) +
                           "'. The valid target: " + joinFlows(kernel) + "\n");
}

}  // namespace

HKPRefused::~HKPRefused() = default;
HKPKernelNotFound::~HKPKernelNotFound() = default;
HKPKernelRefused::~HKPKernelRefused() = default;
HKPSealBroken::~HKPSealBroken() = default;
HKPFilesThere::~HKPFilesThere() = default;
HKPIpTaken::~HKPIpTaken() = default;

bool HKPContainerUtils::parseKPContainerIntoObject_(const std::string& path, HKPContainer& container) {
    if (!HUTFile::exists(path)) return false;
    HKPContainerXMLReader(path, container).parseKPContainer();
    return true;
}

void HKPContainerUtils::requireKPContainer_(const std::string& path) {
    if (!HUTFile::isFile(path))
        throw HEXAlgException("The specified KP container does not exist: '" + path + "'\n");
}

std::shared_ptr<const ArchiveSnapshot> HKPContainerUtils::openKPContainer_(const std::string& path,
                                                                           HKPContainer& container) {
    requireKPContainer_(path);
    return HKPContainerXMLReader(path, container).parsePackage();
}

std::uint32_t HKPContainerUtils::getKPContainerMajorVersion(const std::string& path) {
    HKPContainer container;
    if (!HUTFile::exists(path)) throw HEXAlgException("Failed to parse KP container '" + path + "'\n");
    const auto package = HKPContainerXMLReader(path, container).parsePackage();
    PackageSeal{path, package, container.getVersionMajor(), container.getVersionMinor()}.check();
    return container.getVersionMajor();
}

void HKPContainerUtils::getKernelNamesInKPContainer(const std::string& path,
                                                    std::vector<std::string>& names) {
    HKPContainer container;
    openKPContainer_(path, container);
    const auto [first, last] = container.getKPKernelRange();
    for (auto kernel = first; kernel != last; ++kernel)
        names.push_back((*kernel)->getName());
}

void HKPContainerUtils::validateKPAndGetKernelNames(const std::string& path,
                                                    HKPKernel::SupportedFlowType flow,
                                                    std::vector<std::string>& names) {
    HKPContainer container;
    openKPContainer_(path, container);
    const auto [first, last] = container.getKPKernelRange();
    for (auto entry = first; entry != last; ++entry) {
        const HKPKernel& kernel = **entry;
        requireFlow(kernel, flow, path);
        const bool emulatesFromHls =
            flow == HKPKernel::CPU_EMU || (flow == HKPKernel::HW_EMU && kernel.isDebug());
        if (kernel.getIsHlsDir() && emulatesFromHls) ComMsgMgr::post("@17-1682@%s", {kernel.getName()});
        names.push_back(kernel.getName());
    }
}

void HKPContainerUtils::mergeKPs(const std::vector<std::string>&, const std::string&) {}

void HKPContainerUtils::checkKPIntegrity_(const std::string& path, std::uint32_t versionMajor,
                                          std::uint32_t versionMinor) {
    PackageSeal{path, nullptr, versionMajor, versionMinor}.check();
}

void HKPContainerUtils::checkKPVersion_(const std::string& path, std::uint32_t softwareVersionMajor,
                                        std::uint32_t softwareVersionMinor) {
    if (softwareVersionMajor == 0 && softwareVersionMinor == 0) return;
    const SoftwareVersion running = SoftwareVersion::running();
    if (running.majorText.empty() || running.minorText.empty()) return;
    const std::uint32_t major = running.major();
    const std::uint32_t minor = running.minor();
    if (softwareVersionMajor < major || (softwareVersionMajor == major && softwareVersionMinor <= minor))
        return;
    throw HKPRefused(
        "The KP file '" + path + "' was created in version " + std::to_string(softwareVersionMajor) + "." +
        std::to_string(softwareVersionMinor) +
        ", which is later than the software version you are currently running: " + running.majorText + "." +
        running.minorText + ". Forward compatibility is not supported\n");
}
