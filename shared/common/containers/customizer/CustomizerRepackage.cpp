// Packaging what a customization made.

#include "containers/customizer/Customizer.h"
#include "containers/kernel/HCOKernelXMLReader.h"
#include "containers/kernel/HCOKernelXMLWriter.h"
#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/PackageLayout.h"
#include "platform/files/HUTFile.h"
#include "platform/params/HPAParamMgr.h"

#include <vector>

#include <boost/filesystem/operations.hpp>

namespace kfab::kernel {

namespace fs = boost::filesystem;

namespace {

std::string inDirectory(const std::string& directory, const std::string& name) {
    return (fs::path(directory) / name).string();
}

std::vector<std::string> filesIn(const std::string& directory) {
    if (!HUTFile::isDir(directory)) return {};
    const HUTFileIter files = HUTFile::createFileIter(directory);
    return {files.begin(), files.end()};
}

}  // namespace

bool Customizer::repackage() {
    const std::string kernelXml = inDirectory(getExtractedKernelRoot(), layout::kernelXml);
    try {
        if (!HUTFile::isFile(kernelXml)) return fail_("File not found. Path: " + kernelXml);
        renameKernel_(kernelXml);
        const std::string instanceFile = instanceFile_();
        if (!instanceFile.empty() && !HUTFile::exists(instanceFile))
            return fail_("File not found. Path: " + instanceFile);
        if (!HUTFile::exists(getExtractedKernelIPRoot()))
            return fail_("File not found. Path: " + getExtractedKernelIPRoot());
        addToOutput_(kernelXml, instanceFile);
        return HUTFile::exists(outputFilePath_) || fail_("Failed to create KP file.");
    } catch (const std::exception& failure) {
        return fail_(std::string("Failed to create KP file. Exception: ") + failure.what());
    }
}

/// Gives the description the new name; the unchanged one stays beside it.
void Customizer::renameKernel_(const std::string& kernelXml) const {
    HCOKernelXMLReader reader(kernelXml);
    reader.parse();
    reader.getRoot()->kernel.getOrCreate().name.set(newKernelName_);
    fs::rename(kernelXml, kernelXml + ".bak");
    HCOKernelXMLWriter(reader.getRoot()).write(getExtractedKernelRoot());
}

/// The instance that travels into the new package: the customized one when parameters were applied, else the
/// one that the kernel had; empty for none.
std::string Customizer::instanceFile_() const {
    if (paramsBegin() == paramsEnd()) {
        const std::string present = inDirectory(getExtractedKernelRoot(), layout::ipInstance);
        return HUTFile::isFile(present) ? present : std::string();
    }
    const std::string instance = "design_1_" + newKernelName_ + "_0";
    const fs::path sources = fs::path(getWorkingDirPath()) / "open_rtl_kernel.srcs" / "sources_1";
    return (sources / "bd" / "design_1" / "ip" / instance / (instance + ".qmr")).string();
}

void Customizer::addToOutput_(const std::string& kernelXml, const std::string& instanceFile) const {
    const auto companions = [&](const char* folder) {
        return filesIn(inDirectory(getExtractedKernelRoot(), folder));
    };
    HKPContainer input;
    HKPContainerUtils::parseKPContainerIntoObject_(getObjectFilePath(), input);
    const HKPKernel* known = input.getKPKernelByName(kernelName_);
    const HKPKernel unknown;
    const HKPKernel& entry = known == nullptr ? unknown : *known;
    const std::vector<std::string> shimSoln = companions(layout::shimSoln);
    KernelAddition addition{.kpPath = outputFilePath_,
                            .kernelName = newKernelName_,
                            .kernelXmlPath = kernelXml,
                            .ipDir = getExtractedKernelIPRoot(),
                            .cpuFiles = companions(layout::cpuSources),
                            .pdiFiles = companions(layout::pdi),
                            .swEmuFiles = companions(layout::swEmu),
                            .shimSolnFile = shimSoln.empty() ? std::string() : shimSoln.front(),
                            .ipInstanceFile = instanceFile,
                            .projectID = entry.getProjectID(),
                            .topIpDir = entry.getTopIpDir(),
                            .debugDir = getExtractedDebugRoot(),
                            .hlsDir = getExtractedHlsRoot(),
                            .ipRepoLayout = true,
                            .replace = true,
                            .update = false,
                            .checkVersion = HPAParamMgr::getBool("kp.enableVersionCheck", false)};
    prepareAddition_(addition);
    HKPContainerUtils::addKernel(addition);
}

void Customizer::prepareAddition_(KernelAddition&) const {}

}  // namespace kfab::kernel
