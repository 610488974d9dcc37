// Adding kernels to packages.

#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/KernelStaging.h"
#include "platform/messages/ComMsgMgr.h"

void HKPContainerUtils::addKernel(const KernelAddition& addition) {
    KernelStaging::examine(addition);
    ArchiveEdit::run(addition.kpPath, [&](ArchiveEdit& edit) {
        edit.useJobs(addition.jobs);
        KernelStaging(addition, edit).stage();
    });
}

PlannedAddition HKPContainerUtils::planKernelAddition(const KernelAddition& addition) {
    KernelStaging::examine(addition);
    ArchiveEdit edit(addition.kpPath);
    KernelStaging staging(addition, edit);
    staging.stage();
    return {staging.takeKernel(), edit.rehearse()};
}

void HKPContainerUtils::requirePlaceForKernel(const KernelAddition& addition) {
    KernelStaging::examine(addition);
    ArchiveEdit edit(addition.kpPath);
    KernelStaging(addition, edit).requirePlace();
    static_cast<void>(edit.rehearse());
}

void HKPContainerUtils::addKernelToKPContainer(
    const std::string& kpPath, const std::string& kernelName, const std::string& kernelXmlPath,
    const std::string& ipDir, const std::vector<std::string>& cpuFiles,
    const std::vector<std::string>& pdiFiles, const std::vector<std::string>& swEmuFiles,
    const std::string& shimSolnFile, const std::string& designXmlPath, const std::string& ipInstanceFile,
    const std::string& projectID, const std::string& topIpDir, const std::string& debugDir,
    const std::string& hlsDir, bool ipRepoLayout, bool replace, bool update, bool checkVersion) {
    addKernel({.kpPath = kpPath,
               .kernelName = kernelName,
               .kernelXmlPath = kernelXmlPath,
               .ipDir = ipDir,
               .cpuFiles = cpuFiles,
               .pdiFiles = pdiFiles,
               .swEmuFiles = swEmuFiles,
               .shimSolnFile = shimSolnFile,
               .designXmlPath = designXmlPath,
               .ipInstanceFile = ipInstanceFile,
               .projectID = projectID,
               .topIpDir = topIpDir,
               .debugDir = debugDir,
               .hlsDir = hlsDir,
               .ipRepoLayout = ipRepoLayout,
               .replace = replace,
               .update = update,
               .checkVersion = checkVersion});
}

bool tellsOnlyOfReplacement(const ComMsg& message) {
    return message.number() == "17-1864" || message.number() == "17-1868";
}
