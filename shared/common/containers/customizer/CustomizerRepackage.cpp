// Packaging what a customization made.

#include "containers/customizer/Customizer.h"
#include "containers/kernel/HCOKernelXMLReader.h"
#include "containers/kernel/HCOKernelXMLWriter.h"
#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/PackageLayout.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/params/HPAParamMgr.h"

#include <vector>

namespace kfab::kernel {

namespace {

std::vector<std::string> filesIn(const std::string& directory) {
    if (!HUTFile::isDir(directory)) return {};
    const HUTFileIter files = HUTFile::createFileIter(directory);
    return {files.begin(), files.end()};
}

}  // namespace

bool Customizer::repackage() {
    return attempt_("Failed to create KP file.", [&] {
        const std::string root = absolute_(getExtractedKernelRoot());
        const std::string kernelXml = HUTPathUtils::join(root, layout::kernelXml);
        if (root.empty() || !HUTFile::isFile(kernelXml)) return failWithout_(kernelXml);
        renameKernel_(root);
        const std::string instanceFile = instanceFile_(root);
        if (!instanceFile.empty() && !HUTFile::exists(instanceFile)) return failWithout_(instanceFile);
        const std::string kernelIp = absolute_(getExtractedKernelIPRoot());
        if (!HUTFile::exists(kernelIp)) return failWithout_(kernelIp);
        KernelAddition addition = addition_(root, instanceFile);
        prepareAddition_(addition);
        HKPContainerUtils::addKernel(addition);
        return HUTFile::exists(addition.kpPath) || fail_("Failed to create KP file.");
    });
}

/// Gives the description the new name; the unchanged one stays beside it.
void Customizer::renameKernel_(const std::string& root) const {
    const std::string kernelXml = HUTPathUtils::join(root, layout::kernelXml);
    HCOKernelXMLReader reader(kernelXml);
    reader.parse();
    reader.getRoot()->kernel.getOrCreate().name.set(newKernelName_);
    disk::rename(kernelXml, kernelXml + ".bak");
    HCOKernelXMLWriter(reader.getRoot()).write(root);
}

/// The instance that travels into the new package: the customized one when parameters were applied, else the
/// one that the kernel had; empty for none.
std::string Customizer::instanceFile_(const std::string& root) const {
    if (paramsBegin() == paramsEnd()) {
        const std::string present = HUTPathUtils::join(root, layout::ipInstance);
        return HUTFile::isFile(present) ? present : std::string();
    }
    const std::string instance = "design_1_" + newKernelName_ + "_0";
    return HUTPathUtils::join(
        absolute_(getWorkingDirPath()),
        "open_rtl_kernel.srcs/sources_1/bd/design_1/ip/" + instance + "/" + instance + ".qmr");
}

KernelAddition Customizer::addition_(const std::string& root, const std::string& instanceFile) const {
    const auto companions = [&](const char* folder) { return filesIn(HUTPathUtils::join(root, folder)); };
    const std::vector<std::string> shimSoln = companions(layout::shimSoln);
    return {.kpPath = absolute_(outputFilePath_),
            .kernelName = newKernelName_,
            .kernelXmlPath = HUTPathUtils::join(root, layout::kernelXml),
            .ipDir = absolute_(getExtractedKernelIPRoot()),
            .cpuFiles = companions(layout::cpuSources),
            .pdiFiles = companions(layout::pdi),
            .swEmuFiles = companions(layout::swEmu),
            .shimSolnFile = shimSoln.empty() ? std::string() : shimSoln.front(),
            .ipInstanceFile = instanceFile,
            .projectID = extracted_.projectID,
            .topIpDir = extracted_.topIpDir,
            .debugDir = absolute_(getExtractedDebugRoot()),
            .hlsDir = absolute_(getExtractedHlsRoot()),
            .replace = true,
            .checkVersion = HPAParamMgr::getBool("kp.enableVersionCheck", false)};
}

void Customizer::prepareAddition_(KernelAddition&) const {}

}  // namespace kfab::kernel
