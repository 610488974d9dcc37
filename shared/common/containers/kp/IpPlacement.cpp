#include "containers/kp/IpPlacement.h"

#include "containers/kp/HKPContainerXMLWriter.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageRefusals.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/zip/ArchiveComparison.h"

#include <algorithm>

using layout::isSameOrBelow;
using layout::withoutSlash;

namespace {

std::string ipFolderOf(const HKPKernel& kernel) {
    return withoutSlash(kernel.getIpDir());
}

/// "kernel 'a'" or "kernels 'a', 'b' and 3 more".
std::string shownKernels(const std::vector<std::string>& names) {
    constexpr std::size_t mostNames = 10;
    std::string text = names.size() == 1 ? "kernel" : "kernels";
    for (std::size_t i = 0; i < std::min(names.size(), mostNames); ++i)
        text += (i == 0 ? " '" : ", '") + HUTPathUtils::shown(names[i]) + "'";
    if (names.size() > mostNames) text += " and " + std::to_string(names.size() - mostNames) + " more";
    return text;
}

}  // namespace

bool IpPlacement::isOwn(const HKPKernel& kernel) const {
    return HSTStringUtils::equalsIgnoreCase(kernel.getName(), request_.kernelName);
}

void IpPlacement::removeIpOf(const HKPKernel& replaced) {
    const std::string folder = ipFolderOf(replaced);
    if (!layout::isInRepository(folder)) return;
    const auto [first, last] = container_.getKPKernelRange();
    const bool isShared = std::any_of(first, last, [&](const auto& entry) {
        const std::string other = ipFolderOf(*entry);
        return entry.get() != &replaced && (isSameOrBelow(other, folder) || isSameOrBelow(folder, other));
    });
    if (!isShared) edit_.deleteFolder(folder);
}

std::string IpPlacement::makeRoom(const std::string& vlnv, const std::string& vlnvAsFolder) {
    const std::string folder = folderOf(vlnv, vlnvAsFolder);
    requireNoNesting(folder);
    bool isRecorded = false;
    std::vector<std::string> changed;
    const auto [first, last] = container_.getKPKernelRange();
    for (auto entry = first; entry != last; ++entry) {
        const std::string present = ipFolderOf(**entry);
        if (!HSTStringUtils::equalsIgnoreCase(present, folder)) continue;
        isRecorded = true;
        if (!isOwn(**entry) && !isCopy(request_.ipDir, *edit_.snapshot(), present))
            changed.push_back((*entry)->getName());
        edit_.deleteFolder(present);
        (*entry)->setIpDir(folder);
    }
    if (isRecorded) ComMsgMgr::post("@17-1525@");
    if (!changed.empty()) tellWhoseIpChanges(folder, changed);
    if (folder != layout::ipRepo) edit_.deleteFolder(folder);
    return folder;
}

std::string IpPlacement::folderOf(const std::string& vlnv, const std::string& vlnvAsFolder) const {
    if (vlnv.empty()) return layout::ipRepo;
    const std::string reason = layout::unfitForComponent(vlnvAsFolder);
    if (!reason.empty())
        throw HEXAlgException("The VLNV '" + vlnv + "' of kernel '" + request_.kernelName +
                              "' cannot be a directory: " + reason + ".\n");
    return HUTPathUtils::join(layout::ipRepo, vlnvAsFolder);
}

/// One IP in another's folder would go with it.
void IpPlacement::requireNoNesting(const std::string& folder) const {
    const auto [first, last] = container_.getKPKernelRange();
    for (auto entry = first; entry != last; ++entry) {
        const std::string present = ipFolderOf(**entry);
        if (present.empty() || isOwn(**entry) || HSTStringUtils::equalsIgnoreCase(present, folder)) continue;
        if (isSameOrBelow(present, folder) || isSameOrBelow(folder, present))
            throw HEXAlgException("The IP of kernel '" + request_.kernelName + "' cannot be placed in '" +
                                  folder + "' of KP container '" + request_.kpPath +
                                  "' because the IP of kernel '" + (*entry)->getName() + "' is in '" +
                                  present + "'; give each kernel a VLNV.\n");
    }
}

void IpPlacement::tellWhoseIpChanges(const std::string& folder,
                                     const std::vector<std::string>& kernels) const {
    if (request_.changesOtherIps)
        return ComMsgMgr::post("@17-2007@%s%s", {HUTPathUtils::shown(folder), shownKernels(kernels)});
    throw HKPIpTaken("The IP of kernel '" + request_.kernelName + "' differs from the one in '" + folder +
                     "' of KP container '" + request_.kpPath + "', the IP of " + shownKernels(kernels) +
                     "; give each IP a VLNV of its own.\n");
}

void tellWhoseIpIsLost(const HKPContainer& container, const std::string& package, bool ipRepoLayout) {
    const std::uint32_t format = HKPContainerXMLWriter::formatMajor(ipRepoLayout);
    std::vector<std::string> lost;
    const auto [first, last] = container.getKPKernelRange();
    for (auto entry = first; entry != last; ++entry) {
        const std::string& name = (*entry)->getName();
        const std::string ipDir = (*entry)->getIpDir();
        if (layout::findsIp(container.getVersionMajor(), name, ipDir) &&
            !layout::findsIp(format, name, ipDir))
            lost.push_back(name);
    }
    if (!lost.empty())
        ComMsgMgr::post("@17-2008@%s%s%s",
                        {HUTPathUtils::shown(package), layout::name(ipRepoLayout), shownKernels(lost)});
}
