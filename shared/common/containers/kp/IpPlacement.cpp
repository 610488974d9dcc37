#include "containers/kp/IpPlacement.h"

#include "containers/kp/HKPContainerXMLWriter.h"
#include "containers/kp/KernelPlaces.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageRefusals.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/zip/ArchiveComparison.h"

#include <algorithm>
#include <map>

using layout::isSameOrBelow;

namespace {

std::string ipFolderOf(const HKPKernel& kernel) {
    return std::string(HUTPathUtils::withoutTrailingSeparators(kernel.getIpDir()));
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
    if (layout::isInRepository(folder) && otherKernelIn(container_, folder, &replaced) == nullptr)
        edit_.deleteFolder(folder);
}

std::string IpPlacement::makeRoom(const std::string& vlnv, const std::string& vlnvAsFolder) {
    std::string folder = folderOf(vlnv, vlnvAsFolder);
    requireNoNesting(folder);
    std::map<std::string, std::vector<std::string>> users;  // other kernels, by the spelling of the folder
    const auto [first, last] = container_.getKPKernelRange();
    for (auto entry = first; entry != last; ++entry) {
        const std::string present = ipFolderOf(**entry);
        if (!HSTStringUtils::equalsIgnoreCase(present, folder)) continue;
        std::vector<std::string>& names = users[present];
        if (!isOwn(**entry)) names.push_back((*entry)->getName());
        (*entry)->setIpDir(folder);
    }
    std::vector<std::string> changed;
    for (const auto& [present, names] : users) {
        if (!names.empty() && isAnother(present)) changed.insert(changed.end(), names.begin(), names.end());
        edit_.deleteFolder(present);
    }
    if (!changed.empty() && !request_.changesOtherIps) refuseToChange(folder, changed);
    if (!users.empty()) ComMsgMgr::post("@17-1525@");
    if (!changed.empty())
        ComMsgMgr::post("@17-2007@%s%s", {HUTPathUtils::shown(folder), shownKernels(changed)});
    if (folder != layout::ipRepo) edit_.deleteFolder(folder);
    return folder;
}

/// Whether the IP that is there differs from the one to come; one that cannot be read does.
bool IpPlacement::isAnother(const std::string& present) const {
    try {
        return !isCopy(request_.ipDir, *edit_.snapshot(), present);
    } catch (const HEXAlgException&) {
        return true;
    }
}

std::string IpPlacement::folderOf(const std::string& vlnv, const std::string& vlnvAsFolder) const {
    if (vlnv.empty()) return layout::ipRepo;
    const std::string reason = layout::unfitForComponent(vlnvAsFolder);
    if (!reason.empty())
        throw HKPRefused("The VLNV '" + vlnv + "' of kernel '" + request_.kernelName +
                         "' cannot be a directory: " + reason + ".\n");
    return HUTPathUtils::join(layout::ipRepo, vlnvAsFolder);
}

/// What lies in the folder would go with the IP that is there, and the IP with a folder that holds it.
void IpPlacement::requireNoNesting(const std::string& folder) const {
    const auto [first, last] = container_.getKPKernelRange();
    for (auto entry = first; entry != last; ++entry) {
        const std::string present = ipFolderOf(**entry);
        if (present.empty() || isOwn(**entry) || HSTStringUtils::equalsIgnoreCase(present, folder)) continue;
        if (isSameOrBelow(present, folder) || isSameOrBelow(folder, present))
            throw HKPRefused("The IP of kernel '" + request_.kernelName + "' cannot be placed in '" + folder +
                             "' of KP container '" + request_.kpPath + "' because the IP of kernel '" +
                             (*entry)->getName() + "' is in '" + present + "'; give each kernel a VLNV.\n");
    }
    const HKPKernel* own = container_.getKPKernelByName(request_.kernelName);
    if (const HKPKernel* other = otherKernelIn(container_, folder, own, false))
        throw HKPRefused("The IP of kernel '" + request_.kernelName + "' cannot be placed in '" + folder +
                         "' of KP container '" + request_.kpPath + "' because kernel '" + other->getName() +
                         "' has its directory there.\n");
}

void IpPlacement::refuseToChange(const std::string& folder, const std::vector<std::string>& kernels) const {
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
