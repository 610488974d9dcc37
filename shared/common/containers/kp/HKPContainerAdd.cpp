// Adding kernels to packages.

#include "containers/kernel/HCOKernelXMLReader.h"
#include "containers/kernel/HCOKernelXMLWriter.h"
#include "containers/kernel/KernelDefConversion.h"
#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/HKPContainerXMLWriter.h"
#include "containers/kp/PackageLayout.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTFileUtils.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/params/HPAParamMgr.h"
#include "platform/params/HUTEnv.h"
#include "platform/zip/ArchiveEdit.h"

#include <algorithm>

namespace {

/// What the caller of one addition gave.
struct Request {
    const std::string& package;
    const std::string& kernelName;
    const std::string& kernelXml;
    const std::string& ipDir;
    const std::vector<std::string>& cpuFiles;
    const std::vector<std::string>& pdiFiles;
    const std::vector<std::string>& swEmuFiles;
    const std::string& shimSolnFile;
    const std::string& designXml;
    const std::string& ipInstanceFile;
    const std::string& projectID;
    const std::string& topIpDir;
    const std::string& debugDir;
    const std::string& hlsDir;
    bool ipRepoLayout;
    bool replace;
    bool update;
    bool checkVersion;
};

std::string inFolder(const std::string& folder, const std::string& name) {
    return folder + HUTFile::getDirSeparator() + name;
}

std::string withoutSlash(std::string directory) {
    while (directory.ends_with('/'))
        directory.pop_back();
    return directory;
}

/// Whether a directory is another one or lies below it, without regard to case.
bool isSameOrBelow(const std::string& directory, const std::string& above) {
    return HSTStringUtils::equalsIgnoreCase(directory, above) ||
           HSTStringUtils::startsWithIgnoreCase(directory, inFolder(above, ""));
}

void requireFile(const std::string& file, const char* kind) {
    if (!HUTFile::isFile(file))
        throw HEXAlgException("Specified " + std::string(kind) + " is not a file: '" + file + "'");
}

/// One addition, staged into an edit of the package. Nothing is on disk until that edit is committed.
class Addition {
public:
    Addition(const Request& request, ArchiveEdit& edit) : request_(request), edit_(edit) {}

    void stage();
    /// The kernel as it was staged.
    std::unique_ptr<HKPKernel> takeKernel() {
        return container_.removeKPKernel(container_.getKPKernelByName(request_.kernelName));
    }

private:
    void openPackage();
    HKPKernel* stageUpdate();
    HKPKernel* stageWhole();

    void stageKernelXml(HCOKernelXMLReader& description);
    void stageFiles(const std::vector<std::string>& files, const char* folder, const char* kind);
    void stageShimSoln();
    bool stageDirectory(const std::string& directory, const char* folder, const char* missing,
                        const char* packaging);
    std::string ipDestination(HCOKernelXMLReader& description);
    void clearIpDestination(const std::string& destination);

    std::vector<HKPKernel::SupportedFlowType> flows(bool hasIp) const;
    void requireOwnFolder(const std::string& folder) const;
    void requireSameLayout() const;
    void deleteReplaced(const HKPKernel& replaced);

    const Request& request_;
    ArchiveEdit& edit_;
    HKPContainer container_;
    std::string folder_;  // of the kernel, inside the package
};

void Addition::stage() {
    openPackage();
    HKPKernel* found = container_.getKPKernelByName(request_.kernelName);
    if (found != nullptr && !request_.update)
        throw HEXAlgException("Kernel '" + request_.kernelName + "' already exists inside KP container '" +
                              request_.package + "'\n");
    if (found == nullptr && request_.update) ComMsgMgr::post("@17-1867@");

    if (found != nullptr) {
        folder_ = found->getDirectory();
        const std::string reason = layout::unfitForKernelFolder(folder_);
        if (!reason.empty())
            throw HEXAlgException("The directory '" + folder_ + "' of kernel '" + found->getName() +
                                  "' in '" + request_.package + "' cannot be changed: " + reason + "\n");
    }
    if (found != nullptr) requireOwnFolder(folder_);
    const bool onlyUpdate = found != nullptr && !request_.replace;
    if (found != nullptr && !onlyUpdate) deleteReplaced(*found);
    const HKPKernel* entry = onlyUpdate ? stageUpdate() : stageWhole();
    if (entry->isEmpty())
        throw HEXAlgException("Failed to add kernel '" + request_.kernelName +
                              "' to KP container because the kernel is empty.\n");
    HKPContainerXMLWriter(container_, request_.package).writeKPContainer(request_.ipRepoLayout, edit_);
    edit_.seal();
}

void Addition::openPackage() {
    if (!edit_.exists()) return;
    HKPContainerUtils::parseKPContainerIntoObject_(request_.package, container_);
    HKPContainerUtils::checkKPIntegrity_(request_.package, container_.getVersionMajor(),
                                         container_.getVersionMinor());
    requireSameLayout();
    if (request_.checkVersion)
        HKPContainerUtils::checkKPVersion_(request_.package, container_.getSoftwareVersionMajor(),
                                           container_.getSoftwareVersionMinor());
}

HKPKernel* Addition::stageUpdate() {
    std::vector<std::string> pdiFiles;
    for (const std::string& file : request_.pdiFiles)
        pdiFiles.push_back(HUTFile::getCanonicalName(file));
    stageFiles(pdiFiles, layout::pdi, "PDI File");
    if (!request_.shimSolnFile.empty()) edit_.deleteFolder(inFolder(folder_, layout::shimSoln));
    stageShimSoln();
    return container_.addKPKernel(request_.kernelName, folder_, {}, {}, {}, {}, false, false,
                                  !request_.pdiFiles.empty(), !request_.shimSolnFile.empty(), false, false,
                                  false, false);
}

HKPKernel* Addition::stageWhole() {
    HCOKernelXMLReader description(request_.kernelXml);
    const std::string nameInFile = description.getKernelName();
    if (nameInFile != request_.kernelName)
        throw HEXAlgException("Failed to add kernel '" + request_.kernelName +
                              "' to KP container because the kernel name '" + nameInFile +
                              "' defined in kernel.xml does not match.\n");
    folder_ = request_.kernelName;
    requireOwnFolder(folder_);
    edit_.deleteFolder(folder_);  // what no manifest lists must not become the kernel's
    stageKernelXml(description);
    if (request_.ipRepoLayout && !request_.ipInstanceFile.empty() && HUTFile::exists(request_.ipInstanceFile))
        edit_.addFile(inFolder(folder_, layout::ipInstance), request_.ipInstanceFile);

    stageFiles(request_.cpuFiles, layout::cpuSources, "CPU File");
    stageFiles(request_.swEmuFiles, layout::swEmu, "sw_emu File");
    bool debugCopied = false;
    bool hlsCopied = false;
    if (request_.ipRepoLayout) {
        stageFiles(request_.pdiFiles, layout::pdi, "PDI File");
        stageShimSoln();
        debugCopied = stageDirectory(request_.debugDir, layout::debug, "@17-1650@%s", "@17-1651@%s");
        hlsCopied = stageDirectory(request_.hlsDir, layout::hls, "@17-1666@%s", "@17-1667@%s");
    }
    const bool hasIp = !request_.ipDir.empty() && HUTFile::fileCount(request_.ipDir) > 0;
    const KernelXML::Kernel& kernel = description.getRoot()->kernel.value();
    std::string ipFolder;
    if (hasIp) {
        ipFolder = ipDestination(description);
        edit_.addTree(ipFolder, request_.ipDir);
    } else if (!request_.ipDir.empty()) {
        ComMsgMgr::post("@17-1406@%s", {request_.ipDir});
    }
    HKPKernel* const added = container_.addKPKernel(
        request_.kernelName, folder_, ipFolder, request_.topIpDir, request_.projectID, flows(hasIp),
        debugCopied, hlsCopied, !request_.pdiFiles.empty(), !request_.shimSolnFile.empty(), false, false,
        !request_.swEmuFiles.empty(), true);
    added->setIsDebug(kfab::kernel::isDebugKernel(kernel));  // no manifest holds these two; a plan does
    added->setIsRtlKernel(kfab::kernel::isRtlKernel(kernel));
    return added;
}

/// Another kernel's files may lie in a folder too, by its directory, its IP or, for its description, its
/// name: they must not be touched.
void Addition::requireOwnFolder(const std::string& folder) const {
    const HKPKernel* own = container_.getKPKernelByName(request_.kernelName);
    const auto [first, last] = container_.getKPKernelRange();
    for (auto entry = first; entry != last; ++entry) {
        const HKPKernel& other = **entry;
        const bool usesFolder = isSameOrBelow(withoutSlash(other.getDirectory()), folder) ||
                                isSameOrBelow(withoutSlash(other.getIpDir()), folder) ||
                                isSameOrBelow(other.getName(), folder);
        if (&other != own && usesFolder)
            throw HEXAlgException("Kernel '" + request_.kernelName + "' cannot be added to KP container '" +
                                  request_.package + "' because kernel '" + other.getName() +
                                  "' uses its directory.\n");
    }
}

/// Another layout's number in the manifest would change where the IP of all other kernels is looked for.
void Addition::requireSameLayout() const {
    const auto [first, last] = container_.getKPKernelRange();
    const bool isRepo = container_.getVersionMajor() >= 3;
    if (first == last || isRepo == request_.ipRepoLayout || !HPAParamMgr::getBool("kp.keepLayout", false))
        return;
    const auto layoutName = [](bool repo) { return std::string(repo ? "repo" : "kernel"); };
    throw HEXAlgException("'" + request_.package + "' has the layout '" + layoutName(isRepo) +
                          "'; a kernel cannot be added in the layout '" + layoutName(!isRepo) + "'");
}

/// The folder of a kernel that is replaced, and its place in the repository if no other kernel uses that.
void Addition::deleteReplaced(const HKPKernel& replaced) {
    edit_.deleteFolder(folder_);
    const std::string ipDir = withoutSlash(replaced.getIpDir());
    if (!ipDir.starts_with(inFolder(layout::ipRepo, ""))) return;
    const auto [first, last] = container_.getKPKernelRange();
    const bool isShared = std::any_of(first, last, [&](const auto& entry) {
        return entry.get() != &replaced && (isSameOrBelow(entry->getIpDir(), ipDir) ||
                                            isSameOrBelow(ipDir, withoutSlash(entry->getIpDir())));
    });
    if (!isShared) edit_.deleteFolder(ipDir);
}

void Addition::stageKernelXml(HCOKernelXMLReader& description) {
    HCOKernelXMLWriter writer(description.getRoot());
    if (!request_.designXml.empty()) writer.addDesignXML(request_.designXml);
    const ScratchDirectory scratch(HUTEnv::getTKQTmpDir(), ".kernelxml");
    writer.write(scratch.path());
    edit_.addBytes(inFolder(folder_, layout::kernelXml),
                   HUTFile::readFile(HUTPathUtils::join(scratch.path(), layout::kernelXml)));
}

void Addition::stageFiles(const std::vector<std::string>& files, const char* folder, const char* kind) {
    for (const std::string& file : files)
        requireFile(file, kind);
    edit_.addFiles(inFolder(folder_, folder), files);
}

void Addition::stageShimSoln() {
    if (!request_.shimSolnFile.empty())
        stageFiles({request_.shimSolnFile}, layout::shimSoln, "shim solution file");
}

bool Addition::stageDirectory(const std::string& directory, const char* folder, const char* missing,
                              const char* packaging) {
    if (directory.empty()) return false;
    if (!HUTFile::isDir(directory)) {
        ComMsgMgr::post(missing, {directory});
        return false;
    }
    ComMsgMgr::post(packaging, {directory});
    edit_.addTree(inFolder(folder_, folder), directory);
    return true;
}

std::vector<HKPKernel::SupportedFlowType> Addition::flows(bool hasIp) const {
    std::vector<HKPKernel::SupportedFlowType> flows;
    if (!request_.cpuFiles.empty()) flows.push_back(HKPKernel::CPU_EMU);
    if (hasIp) flows.insert(flows.end(), {HKPKernel::HW_EMU, HKPKernel::SYSTEM});
    return flows;
}

/// The folder for the kernel's IP inside the package, with room made for it.
std::string Addition::ipDestination(HCOKernelXMLReader& description) {
    if (!request_.ipRepoLayout) return inFolder(folder_, layout::kernelIp);
    const std::string vlnv = description.getKernelVlnvReplaced_();
    if (vlnv.find_first_of(std::string("/\\\0", 3)) != std::string::npos)
        throw HEXAlgException("The VLNV '" + description.getKernelVlnv() + "' of kernel '" +
                              request_.kernelName + "' cannot be a directory: it holds a separator.\n");
    std::string destination = vlnv.empty() ? layout::ipRepo : inFolder(layout::ipRepo, vlnv);
    clearIpDestination(destination);
    return destination;
}

/// Kernels of one VLNV share one IP directory: what is there makes room, and they follow its spelling.
void Addition::clearIpDestination(const std::string& destination) {
    const auto [first, last] = container_.getKPKernelRange();
    const HKPKernel* replaced = container_.getKPKernelByName(request_.kernelName);
    bool recorded = false;
    for (auto entry = first; entry != last; ++entry) {
        const std::string ipDir = withoutSlash((*entry)->getIpDir());
        if (HSTStringUtils::equalsIgnoreCase(ipDir, destination)) {
            recorded = true;
            edit_.deleteFolder(ipDir);
            (*entry)->setIpDir(destination);
        } else if (!ipDir.empty() && entry->get() != replaced &&
                   (isSameOrBelow(ipDir, destination) || isSameOrBelow(destination, ipDir))) {
            throw HEXAlgException("The IP of kernel '" + request_.kernelName + "' cannot be placed in '" +
                                  destination + "' of KP container '" + request_.package +
                                  "' because the IP of kernel '" + (*entry)->getName() + "' is in '" + ipDir +
                                  "'; give each kernel a VLNV.\n");
        }
    }
    if (recorded) ComMsgMgr::post("@17-1525@");
    if (destination != layout::ipRepo) edit_.deleteFolder(destination);
}

/// What is known to be wrong, or odd, before the package is looked at.
void examine(const Request& request) {
    const std::string reason = layout::unfitForKernelFolder(request.kernelName);
    if (!reason.empty())
        throw HEXAlgException("Kernel '" + request.kernelName + "' cannot be added to KP container '" +
                              request.package + "': " + reason + ".\n");
    if (request.replace && request.update) ComMsgMgr::post("@17-1864@");
    if (request.update && request.pdiFiles.empty() && request.shimSolnFile.empty())
        ComMsgMgr::post("@17-1868@");
}

}  // namespace

void HKPContainerUtils::addKernelToKPContainer(
    const std::string& kpPath, const std::string& kernelName, const std::string& kernelXmlPath,
    const std::string& ipDir, const std::vector<std::string>& cpuFiles,
    const std::vector<std::string>& pdiFiles, const std::vector<std::string>& swEmuFiles,
    const std::string& shimSolnFile, const std::string& designXmlPath, const std::string& ipInstanceFile,
    const std::string& projectID, const std::string& topIpDir, const std::string& debugDir,
    const std::string& hlsDir, bool ipRepoLayout, bool replace, bool update, bool checkVersion) {
    const Request request{kpPath,     kernelName,   kernelXmlPath, ipDir,          cpuFiles,  pdiFiles,
                          swEmuFiles, shimSolnFile, designXmlPath, ipInstanceFile, projectID, topIpDir,
                          debugDir,   hlsDir,       ipRepoLayout,  replace,        update,    checkVersion};
    examine(request);
    ArchiveEdit::run(kpPath, [&](ArchiveEdit& edit) { Addition(request, edit).stage(); });
}

PlannedAddition HKPContainerUtils::planKernelAddition(
    const std::string& kpPath, const std::string& kernelName, const std::string& kernelXmlPath,
    const std::string& ipDir, const std::vector<std::string>& cpuFiles,
    const std::vector<std::string>& pdiFiles, const std::vector<std::string>& swEmuFiles,
    const std::string& shimSolnFile, const std::string& designXmlPath, const std::string& ipInstanceFile,
    const std::string& projectID, const std::string& topIpDir, const std::string& debugDir,
    const std::string& hlsDir, bool ipRepoLayout, bool replace, bool update, bool checkVersion) {
    const Request request{kpPath,     kernelName,   kernelXmlPath, ipDir,          cpuFiles,  pdiFiles,
                          swEmuFiles, shimSolnFile, designXmlPath, ipInstanceFile, projectID, topIpDir,
                          debugDir,   hlsDir,       ipRepoLayout,  replace,        update,    checkVersion};
    examine(request);
    ArchiveEdit edit(kpPath);
    Addition addition(request, edit);
    addition.stage();
    return {addition.takeKernel(), edit.rehearse()};
}
