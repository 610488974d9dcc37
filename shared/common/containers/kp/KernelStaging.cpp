#include "containers/kp/KernelStaging.h"

#include "containers/kernel/HCOKernelXMLWriter.h"
#include "containers/kernel/KernelDefConversion.h"
#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/HKPContainerXMLWriter.h"
#include "containers/kp/IpPlacement.h"
#include "containers/kp/KernelPlaces.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageSeal.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTFileUtils.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/params/HUTEnv.h"

#include <algorithm>

void KernelStaging::examine(const KernelAddition& request) {
    const std::string reason = layout::unfitForKernelFolder(request.kernelName);
    if (!reason.empty())
        throw HKPRefused("Kernel '" + request.kernelName + "' cannot be added to KP container '" +
                         request.kpPath + "': " + reason + ".\n");
    if (request.replace && request.update) ComMsgMgr::post("@17-1864@");
    if (request.update && request.pdiFiles.empty() && request.shimSolnFile.empty())
        ComMsgMgr::post("@17-1868@");
}

void KernelStaging::stage() {
    openPackage();
    requireFreePlace();
    const HKPKernel* present = present_();
    if (present == nullptr && request_.update) ComMsgMgr::post("@17-1867@");
    const bool onlyUpdates = present != nullptr && !request_.replace;
    const HKPKernel* staged = onlyUpdates ? stageUpdate(*present) : stageWhole();
    if (staged->isEmpty())
        throw HKPRefused("Failed to add kernel '" + request_.kernelName +
                         "' to KP container because the kernel is empty.\n");
    tellWhoseIpIsLost(container_, request_.kpPath, ipRepoLayout_);
    HKPContainerXMLWriter(container_, request_.kpPath).writeKPContainer(ipRepoLayout_, edit_);
}

void KernelStaging::requirePlace() {
    openPackage();
    requireFreePlace();
}

/// The kernel of the name that the package has, if any.
const HKPKernel* KernelStaging::present_() const {
    return container_.getKPKernelByName(request_.kernelName);
}

void KernelStaging::requireFreePlace() const {
    const HKPKernel* present = present_();
    if (present == nullptr) return requireOwnFolder(request_.kernelName);
    if (!request_.update)
        throw HKPRefused("Kernel '" + request_.kernelName + "' already exists inside KP container '" +
                         request_.kpPath + "'\n");
    requireChangeable(*present);
}

std::unique_ptr<HKPKernel> KernelStaging::takeKernel() {
    return container_.removeKPKernel(container_.getKPKernelByName(request_.kernelName));
}

void KernelStaging::openPackage() {
    ipRepoLayout_ = request_.ipRepoLayout;
    if (!edit_.exists()) return edit_.seal();
    HKPContainerXMLReader(request_.kpPath, container_, edit_.snapshot()).parseKPContainer();
    const PackageSeal seal{request_.kpPath, edit_.snapshot(), container_.getVersionMajor(),
                           container_.getVersionMinor()};
    if (seal.isRenewed(request_.brokenSeal)) edit_.seal();
    if (request_.checkVersion)
        HKPContainerUtils::checkKPVersion_(request_.kpPath, container_.getSoftwareVersionMajor(),
                                           container_.getSoftwareVersionMinor());
    chooseLayout();
}

void KernelStaging::chooseLayout() {
    const bool isRepo = layout::hasRepository(container_.getVersionMajor());
    const auto [first, last] = container_.getKPKernelRange();
    if (isRepo == request_.ipRepoLayout) return;
    if (request_.otherLayout == OtherLayout::Follow) {
        ipRepoLayout_ = isRepo;
    } else if (request_.otherLayout == OtherLayout::Refuse && first != last) {
        throw HKPRefused("'" + request_.kpPath + "' has the layout '" + layout::name(isRepo) +
                         "'; a kernel cannot be added in the layout '" + layout::name(!isRepo) + "'");
    }
}

void KernelStaging::requireChangeable(const HKPKernel& kernel) const {
    const std::string folder(HUTPathUtils::withoutTrailingSeparators(kernel.getDirectory()));
    const std::string reason = layout::unfitToChange(folder);
    if (!reason.empty())
        throw HKPRefused("The directory '" + kernel.getDirectory() + "' of kernel '" + kernel.getName() +
                         "' in '" + request_.kpPath + "' cannot be changed: " + reason + "\n");
    requireOwnFolder(folder);
}

/// What lies in another kernel's folder, or holds it, must not be touched.
void KernelStaging::requireOwnFolder(const std::string& folder) const {
    if (const HKPKernel* other = otherKernelIn(container_, folder, present_()))
        throw HKPRefused("Kernel '" + request_.kernelName + "' cannot be added to KP container '" +
                         request_.kpPath + "' because kernel '" + other->getName() +
                         "' uses its directory.\n");
}

HKPKernel* KernelStaging::stageUpdate(const HKPKernel& present) {
    folder_ = HUTPathUtils::withoutTrailingSeparators(present.getDirectory());
    HKPKernel* updated = container_.appendKPKernel(takeKernel());  // the one that changed last comes last
    for (const KernelPart& part : kernelParts) {
        Files given = part.byUpdate ? part.givenBy(request_) : Files();
        if (given.empty()) continue;
        if (part.kind == KernelPart::Kind::File)
            edit_.deleteFolder(HUTPathUtils::join(folder_, part.folder));
        else
            std::transform(given.begin(), given.end(), given.begin(), HUTFile::getCanonicalName);
        stageFiles(given, part);
        (updated->*part.set)(true);
    }
    return updated;
}

/// Adds the kernel as a new one, in the place of one of its name.
HKPKernel* KernelStaging::stageWhole() {
    if (const HKPKernel* replaced = present_()) {
        edit_.deleteFolder(replaced->getDirectory());
        IpPlacement(request_, container_, edit_).removeIpOf(*replaced);
    }
    HCOKernelXMLReader description(request_.kernelXmlPath);
    const std::string nameInFile = description.getKernelName();
    if (nameInFile != request_.kernelName)
        throw HKPRefused("Failed to add kernel '" + request_.kernelName +
                         "' to KP container because the kernel name '" + nameInFile +
                         "' defined in kernel.xml does not match.\n");
    folder_ = request_.kernelName;
    requireOwnFolder(folder_);
    edit_.deleteFolder(folder_);  // what no manifest lists must not become the kernel's
    stageKernelXml(description);
    if (ipRepoLayout_ && !request_.ipInstanceFile.empty() && HUTFile::exists(request_.ipInstanceFile))
        edit_.addFile(HUTPathUtils::join(folder_, layout::ipInstance), request_.ipInstanceFile);

    std::vector<const KernelPart*> had;
    for (const KernelPart& part : kernelParts)
        if (stagePart(part)) had.push_back(&part);
    const KernelXML::Kernel& kernel = description.getRoot()->kernel.value();
    const std::string ipFolder = stageIp(description);
    HKPKernel* const added = container_.addKPKernel(request_.kernelName, folder_, ipFolder, request_.topIpDir,
                                                    request_.projectID, flows(!ipFolder.empty()), false,
                                                    false, false, false, false, false, false, true);
    for (const KernelPart* part : had)
        if (part->set != nullptr) (added->*part->set)(true);
    added->setIsDebug(kfab::kernel::isDebugKernel(kernel));  // no manifest holds these two; a plan does
    added->setIsRtlKernel(kfab::kernel::isRtlKernel(kernel));
    return added;
}

void KernelStaging::stageKernelXml(HCOKernelXMLReader& description) {
    HCOKernelXMLWriter writer(description.getRoot());
    if (!request_.designXmlPath.empty()) writer.addDesignXML(request_.designXmlPath);
    const ScratchDirectory scratch(HUTEnv::getTKQTmpDir(),
                                   ".kernelxml");  // an addition must be able to make one
    const std::string place = HUTPathUtils::join(scratch.path(), layout::kernelXml);
    edit_.addBytes(HUTPathUtils::join(folder_, layout::kernelXml), writer.text(place));
}

/// Returns the folder of the IP; empty when there is none.
std::string KernelStaging::stageIp(HCOKernelXMLReader& description) {
    if (request_.ipDir.empty()) return {};
    if (HUTFile::fileCount(request_.ipDir) == 0) {
        ComMsgMgr::post("@17-1406@%s", {request_.ipDir});
        return {};
    }
    std::string folder =
        ipRepoLayout_ ? IpPlacement(request_, container_, edit_)
                            .makeRoom(description.getKernelVlnv(), description.getKernelVlnvReplaced_())
                      : HUTPathUtils::join(folder_, layout::kernelIp);
    edit_.addTree(folder, request_.ipDir);
    return folder;
}

/// Whether the kernel's entry is to state the directory: for files, that they were given, packed or not.
bool KernelStaging::stagePart(const KernelPart& part) {
    const Files given = part.givenBy(request_);
    const bool isPacked = ipRepoLayout_ || part.inKernelLayout;
    if (part.kind == KernelPart::Kind::Directory)
        return isPacked && !given.empty() && stageDirectory(given.front(), part);
    if (isPacked) stageFiles(given, part);
    return !given.empty();
}

void KernelStaging::stageFiles(const Files& files, const KernelPart& part) {
    for (const std::string& file : files)
        if (!HUTFile::isFile(file))
            throw HEXAlgException("Specified " + std::string(part.noun) + " is not a file: '" + file + "'");
    edit_.addFiles(HUTPathUtils::join(folder_, part.folder), files);
}

bool KernelStaging::stageDirectory(const std::string& directory, const KernelPart& part) {
    const bool isThere = HUTFile::isDir(directory);
    ComMsgMgr::post(isThere ? *part.packaging : *part.missing, {directory});
    if (isThere) edit_.addTree(HUTPathUtils::join(folder_, part.folder), directory);
    return isThere;
}

KernelStaging::Flows KernelStaging::flows(bool hasIp) const {
    Flows flows;
    if (!request_.cpuFiles.empty()) flows.push_back(HKPKernel::CPU_EMU);
    if (hasIp) flows.insert(flows.end(), {HKPKernel::HW_EMU, HKPKernel::SYSTEM});
    return flows;
}
