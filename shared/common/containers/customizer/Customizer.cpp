#include "containers/customizer/Customizer.h"

#include "containers/kp/HKPContainerUtils.h"
#include "platform/files/HUTFileUtils.h"
#include "platform/params/HPAParamMgr.h"
#include "platform/params/HUTEnv.h"

#include <algorithm>

#include <boost/filesystem/operations.hpp>

namespace kfab::kernel {

namespace fs = boost::filesystem;

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
    return (fs::path(HUTEnv::getTKQTmpDir()) / fs::unique_path("quorix-kfab-%%%%%%%%%%%%")).string();
}

bool Customizer::fail_(const std::string& message) {
    errorMessage_ = message;
    return false;
}

bool Customizer::checkPreconditions() {
    if (kernelName_.empty()) return fail_("Missing kernel name.");
    if (getObjectFilePath().empty()) return fail_("Missing KP file path.");
    boost::system::error_code ignored;
    return fs::exists(getObjectFilePath(), ignored) || fail_("KP file not found.");
}

bool Customizer::extract() {
    const std::string workingDir = getWorkingDirPath();
    boost::system::error_code error;
    if (!fs::exists(workingDir, error) && !fs::create_directories(workingDir, error)) return false;
    try {
        explorer_ = HKPContainerUtils::extractKernelFromKPContainer(
            getObjectFilePath(), kernelName_, workingDir,
            HPAParamMgr::getBool("kp.enableVersionCheck", false));
        return true;
    } catch (const std::exception& failure) {
        return fail_(std::string("Failed to extract RTL kernel from object file. Exception: ") +
                     failure.what());
    }
}

bool Customizer::setExtractedPaths() {
    if (!explorer_) return fail_("The extracted kernel has no explorer.");
    extractedKernelRoot_ = explorer_->getKernelDefRoot(kernelName_);
    const std::string kernelXml = (fs::path(extractedKernelRoot_) / "kernel.xml").string();
    boost::system::error_code ignored;
    if (!fs::is_regular_file(kernelXml, ignored)) return fail_("File not found. Path: " + kernelXml);
    extractedIPDefinitionRoot_ = explorer_->getIPDefinitionRoot(kernelName_);
    extractedCpuSourcesRoot_ = explorer_->getCpuSourcesRoot(kernelName_);
    extractedDebugRoot_ = explorer_->getDebugRoot(kernelName_);
    extractedHlsRoot_ = explorer_->getHlsRoot(kernelName_);
    extractedSwEmuRoot_ = explorer_->getSwEmuFilesRoot(kernelName_);
    extractedVlnv_ = explorer_->getVLNV(kernelName_);
    std::string directory = extractedVlnv_;
    std::replace_if(
        directory.begin(), directory.end(), [](char c) { return c == '.' || c == ':'; }, '_');
    extractedKernelIPRoot_ = (fs::path(extractedIPDefinitionRoot_) / directory).string();
    return true;
}

bool Customizer::runSteps_() {
    return checkPreconditions() && extract() && setExtractedPaths() &&
           (targetBoard_.empty() || addTargetBoard()) &&
           (paramsBegin() == paramsEnd() || buildBlockDiagram()) && repackage();
}

bool Customizer::execute() {
    const bool done = runSteps_();
    removeWorkingDir_();
    return done;
}

void Customizer::removeWorkingDir_() {
    if (!workingDirPath_.empty()) HUTFileUtils::removeTree(workingDirPath_);
}

}  // namespace kfab::kernel
