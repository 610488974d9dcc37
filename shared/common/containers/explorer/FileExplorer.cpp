#include "containers/explorer/FileExplorer.h"

#include "containers/explorer/KernelLayout.h"
#include "containers/kernel/HCOKernelXMLReader.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"

#include <iostream>

namespace kfab::kernel {
namespace {

/// The path of the first entry of the name below the directory, depth first; empty when there is none.
std::string findBelow(const std::string& directory, const std::string& name) {
    HUTInterrupt::check();
    for (const disk::DirectoryItem& item : disk::list(directory)) {
        std::string path = HUTPathUtils::join(directory, item.name);
        if (item.name == name) return path;
        if (item.kind != disk::DirectoryItem::Kind::Directory) continue;
        std::string found = findBelow(path, name);
        if (!found.empty()) return found;
    }
    return {};
}

}  // namespace

FileExplorer::FileExplorer(const std::string& root, const std::shared_ptr<HKPContainer>& container,
                           bool supportsIPCache)
    : root_(root), container_(container), ipCacheSupported_(supportsIPCache) {}

FileExplorer::~FileExplorer() = default;

bool FileExplorer::addKernelRootDir(const std::string& kernelName, const std::string& rootDir) {
    HCOKernelXMLReader description(HUTPathUtils::join(rootDir, layout::kernelXml));
    try {
        description.parse();
    } catch (const std::exception& failure) {
        std::cout << std::string("Failed to parse RTL kernel file. Exception: ") + failure.what() + "\n";
        return false;
    }
    KernelDesc& desc = kernels_[kernelName];
    desc.kernelDefRoot = rootDir;
    desc.vlnv = description.getKernelVlnv();
    desc.hasEntry = container_->getKPKernelByName(kernelName) != nullptr;
    desc.kernelDef.emplace(description.getKernelDef());
    return true;
}

bool FileExplorer::setText_(const std::string& kernelName, Text text, const std::string& value) {
    const auto kernel = kernels_.find(kernelName);
    if (kernel == kernels_.end()) return false;
    kernel->second.*text = value;
    return true;
}

bool FileExplorer::addCpuSourcesDir(const std::string& kernelName, const std::string& dir) {
    return setText_(kernelName, &KernelDesc::cpuSourcesRoot, dir);
}

bool FileExplorer::addSwEmuFilesDir(const std::string& kernelName, const std::string& dir) {
    return setText_(kernelName, &KernelDesc::swEmuFilesRoot, dir);
}

bool FileExplorer::addPdiFilesDir(const std::string& kernelName, const std::string& dir) {
    return setText_(kernelName, &KernelDesc::pdiFilesRoot, dir);
}

bool FileExplorer::addShimSolnFileDir(const std::string& kernelName, const std::string& dir) {
    return setText_(kernelName, &KernelDesc::shimSolnFileRoot, dir);
}

bool FileExplorer::addDebugDir(const std::string& kernelName, const std::string& dir) {
    return setText_(kernelName, &KernelDesc::debugRoot, dir);
}

bool FileExplorer::addHlsDir(const std::string& kernelName, const std::string& dir) {
    return setText_(kernelName, &KernelDesc::hlsRoot, dir);
}

bool FileExplorer::addIPDefinitionDir(const std::string& kernelName, const std::string& dir) {
    return setText_(kernelName, &KernelDesc::ipDefinitionRoot, dir);
}

bool FileExplorer::addIPCacheDir(const std::string& kernelName, const std::string& dir) {
    return ipCacheSupported_ && setText_(kernelName, &KernelDesc::ipCacheRoot, dir);
}

std::string FileExplorer::text_(const std::string& kernelName, Text text) const {
    const auto kernel = kernels_.find(kernelName);
    return kernel == kernels_.end() ? std::string() : kernel->second.*text;
}

std::string FileExplorer::getVLNV(const std::string& kernelName) const {
    return text_(kernelName, &KernelDesc::vlnv);
}

std::string FileExplorer::getKernelDefRoot(const std::string& kernelName) const {
    return text_(kernelName, &KernelDesc::kernelDefRoot);
}

std::string FileExplorer::getCpuSourcesRoot(const std::string& kernelName) const {
    return text_(kernelName, &KernelDesc::cpuSourcesRoot);
}

std::string FileExplorer::getPdiFilesRoot(const std::string& kernelName) const {
    return text_(kernelName, &KernelDesc::pdiFilesRoot);
}

std::string FileExplorer::getSwEmuFilesRoot(const std::string& kernelName) const {
    return text_(kernelName, &KernelDesc::swEmuFilesRoot);
}

std::string FileExplorer::getShimSolnFileRoot(const std::string& kernelName) const {
    return text_(kernelName, &KernelDesc::shimSolnFileRoot);
}

std::string FileExplorer::getDebugRoot(const std::string& kernelName) const {
    return text_(kernelName, &KernelDesc::debugRoot);
}

std::string FileExplorer::getHlsRoot(const std::string& kernelName) const {
    return text_(kernelName, &KernelDesc::hlsRoot);
}

std::string FileExplorer::getIPDefinitionRoot(const std::string& kernelName) const {
    return text_(kernelName, &KernelDesc::ipDefinitionRoot);
}

std::string FileExplorer::getIPCacheRoot(const std::string& kernelName) const {
    return text_(kernelName, &KernelDesc::ipCacheRoot);
}

std::string FileExplorer::getRoot() const {
    return root_;
}

bool FileExplorer::supportsIPCache() const {
    return ipCacheSupported_;
}

bool FileExplorer::existsDir(const std::string& path) const {
    return HUTFile::isDir(path);
}

void FileExplorer::getKernelDefs(std::vector<KernelDef>& out) const {
    out.clear();
    for (const auto& [name, desc] : kernels_)
        out.push_back(desc.kernelDef.value());
}

void FileExplorer::getKernelDefNames(std::set<std::string>& out) const {
    out.clear();
    for (const auto& [name, desc] : kernels_)
        out.insert(name);
}

std::string FileExplorer::getHierTopIPPath(const std::string& kernelName) const {
    const auto found = kernels_.find(kernelName);
    if (found == kernels_.end() || !found->second.hasEntry) return ".";
    const HKPKernel* entry = container_->getKPKernelByName(kernelName);
    return entry == nullptr ? "." : entry->getTopIpDir();
}

std::string FileExplorer::getPath(const std::string& kernelName, const std::string& fileName) const {
    if (fileName.empty()) return {};
    const std::string root = getKernelDefRoot(kernelName);
    if (root.empty()) return {};
    try {
        return findBelow(root, fileName);
    } catch (const HEXAlgException& unreadable) {
        throw HEXAlgException(std::string("filesystem::recursive_directory_iterator directory error: ") +
                              unreadable.what());
    }
}

bool FileExplorer::appendFiles_(const std::string& directory, std::vector<std::string>& out) const {
    if (directory.empty() || !HUTFile::isDir(directory)) return false;
    const HUTFileIter files = HUTFile::createFileIter(directory);
    out.insert(out.end(), files.begin(), files.end());
    return true;
}

bool FileExplorer::getCpuSources(const std::string& kernelName, std::vector<std::string>& out) const {
    return appendFiles_(getCpuSourcesRoot(kernelName), out);
}

bool FileExplorer::getPdiFiles(const std::string& kernelName, std::vector<std::string>& out) const {
    return appendFiles_(getPdiFilesRoot(kernelName), out);
}

bool FileExplorer::getSwEmuFiles(const std::string& kernelName, std::vector<std::string>& out) const {
    return appendFiles_(getSwEmuFilesRoot(kernelName), out);
}

bool FileExplorer::getShimSolnFile(const std::string& kernelName, std::string& out) const {
    std::vector<std::string> files;
    if (!appendFiles_(getShimSolnFileRoot(kernelName), files)) return false;
    if (!files.empty()) out = files.front();
    return true;
}

}  // namespace kfab::kernel
