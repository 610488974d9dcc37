#include "containers/customizer/Customizer.h"

#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/PackageLayout.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTFileUtils.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/files/UniqueNames.h"
#include "platform/params/HPAParamMgr.h"
#include "platform/params/HUTEnv.h"

#include <algorithm>

#include <boost/filesystem/path.hpp>

namespace kfab::kernel {

namespace fs = boost::filesystem;

namespace {

/// What cannot be looked at is as good as missing.
bool exists(const std::string& path) {
    try {
        return HUTFile::exists(path);
    } catch (const HEXAlgException&) {
        return false;
    }
}

bool makeWorkingDir(const std::string& path) {
    try {
        if (!HUTFile::exists(path)) disk::makeDirectories(path, 0700);
        return true;
    } catch (const HEXAlgException&) {
        return false;
    }
}

/// Empty when it is gone: absolute paths do without it, and relative ones are not found.
std::string currentDirectory() {
    try {
        return disk::absolute("");
    } catch (const HEXAlgException&) {
        return {};
    }
}

}  // namespace

Customizer::Customizer(const std::string& objectFilePath, const std::string& kernelName)
    : objectFilePath_(objectFilePath), kernelName_(kernelName) {}

Customizer::~Customizer() {
    removeWorkingDir_();
}

Customizer& Customizer::withNewKernelName(const std::string& name) {
    newKernelName_ = name;
    return *this;
}

Customizer& Customizer::withOutputFilePath(const std::string& path) {
    const bool isBare = fs::path(path).parent_path().empty();
    outputFilePath_ = isBare ? (fs::path(getObjectFilePath()).parent_path() / path).string() : path;
    return *this;
}

Customizer& Customizer::withParams(const Params& params) {
    params_ = params;
    return *this;
}

Customizer& Customizer::withParamsFile(const std::string& path) {
    paramsFilePath_ = path;
    return *this;
}

Customizer& Customizer::withTargetBoard(const std::string& board) {
    targetBoard_ = board;
    return *this;
}

std::string Customizer::getObjectFilePath() const {
    return objectFilePath_;
}
std::string Customizer::getOutputFilePath() const {
    return outputFilePath_;
}
std::string Customizer::getParamsFilePath() const {
    return paramsFilePath_;
}
Customizer::Params::const_iterator Customizer::paramsBegin() const {
    return params_.begin();
}
Customizer::Params::const_iterator Customizer::paramsEnd() const {
    return params_.end();
}
std::string Customizer::getExtractedCpuSourcesRoot() const {
    return extractedCpuSourcesRoot_;
}
std::string Customizer::getExtractedDebugRoot() const {
    return extractedDebugRoot_;
}
std::string Customizer::getExtractedHlsRoot() const {
    return extractedHlsRoot_;
}
std::string Customizer::getExtractedSwEmuRoot() const {
    return extractedSwEmuRoot_;
}
std::string Customizer::getExtractedIPDefinitionRoot() const {
    return extractedIPDefinitionRoot_;
}
std::string Customizer::getExtractedKernelRoot() const {
    return extractedKernelRoot_;
}
std::string Customizer::getExtractedKernelIPRoot() const {
    return extractedKernelIPRoot_;
}
std::string Customizer::getExtractedVlnv() const {
    return extractedVlnv_;
}

std::string Customizer::getWorkingDirPath() const {
    if (!workingDirPath_.empty()) return workingDirPath_;
    return HUTPathUtils::join(HUTEnv::getTKQTmpDir(), UniqueNames{"quorix-kfab-", ""}.next());
}

bool Customizer::fail_(const std::string& message) {
    errorMessage_ = message;
    return false;
}

bool Customizer::failWithout_(const std::string& path) {
    return fail_("File not found. Path: " + path);
}

std::string Customizer::reasonOf_(const std::exception& failure) const {
    return failure.what();
}

/// Runs a step, which may throw whatever an evaluator of the host throws.
bool Customizer::attempt_(const std::string& failed, const std::function<bool()>& step) {
    try {
        return step();
    } catch (const std::exception& failure) {
        return fail_(failed + " Exception: " + reasonOf_(failure));
    } catch (...) {
        return fail_(failed + " Exception: of an unknown type");
    }
}

std::string Customizer::absolute_(const std::string& path) const {
    return path.empty() || path.starts_with('/') ? path : HUTPathUtils::join(startDirectory_, path);
}

bool Customizer::checkPreconditions() {
    if (kernelName_.empty()) return fail_("Missing kernel name.");
    if (getObjectFilePath().empty()) return fail_("Missing KP file path.");
    return exists(absolute_(getObjectFilePath())) || fail_("KP file not found.");
}

bool Customizer::extract() {
    return attempt_("Failed to extract RTL kernel from object file.", [&] {
        KernelExtraction extraction{.kpPath = absolute_(getObjectFilePath()),
                                    .kernelName = kernelName_,
                                    .destination = absolute_(getWorkingDirPath())};
        if (!makeWorkingDir(extraction.destination)) return false;
        extraction.checkVersion = HPAParamMgr::getBool("kp.enableVersionCheck", false);
        prepareExtraction_(extraction);
        setExtracted_(HKPContainerUtils::extractKernel(extraction));
        return true;
    });
}

void Customizer::prepareExtraction_(KernelExtraction&) const {}

bool Customizer::setExtractedPaths() {
    return attempt_("Failed to extract RTL kernel from object file.", [&] {
        if (!extracted_.explorer) return fail_("The extracted kernel has no explorer.");
        const ExplorerIface& explorer = *extracted_.explorer;
        const std::string& name = extracted_.name.empty() ? kernelName_ : extracted_.name;
        extractedKernelRoot_ = explorer.getKernelDefRoot(name);
        const std::string kernelXml = HUTPathUtils::join(extractedKernelRoot_, layout::kernelXml);
        if (extractedKernelRoot_.empty() || !HUTFile::isFile(absolute_(kernelXml)))
            return failWithout_(kernelXml);
        extractedIPDefinitionRoot_ = explorer.getIPDefinitionRoot(name);
        extractedCpuSourcesRoot_ = explorer.getCpuSourcesRoot(name);
        extractedDebugRoot_ = explorer.getDebugRoot(name);
        extractedHlsRoot_ = explorer.getHlsRoot(name);
        extractedSwEmuRoot_ = explorer.getSwEmuFilesRoot(name);
        extractedVlnv_ = explorer.getVLNV(name);
        std::string directory = extractedVlnv_;
        std::replace_if(
            directory.begin(), directory.end(), [](char c) { return c == '.' || c == ':'; }, '_');
        extractedKernelIPRoot_ = HUTPathUtils::join(extractedIPDefinitionRoot_, directory);
        return true;
    });
}

bool Customizer::runSteps_() {
    return checkPreconditions() && extract() && setExtractedPaths() &&
           (targetBoard_.empty() || addTargetBoard()) &&
           (paramsBegin() == paramsEnd() || buildBlockDiagram()) && repackage();
}

bool Customizer::execute() {
    errorMessage_.clear();
    startDirectory_ = currentDirectory();
    const bool done = runSteps_();
    removeWorkingDir_();
    return done;
}

void Customizer::removeWorkingDir_() {
    if (!workingDirPath_.empty()) HUTFileUtils::removeTree(absolute_(workingDirPath_));
}

}  // namespace kfab::kernel
