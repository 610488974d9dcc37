#include "containers/explorer/ArchiveExplorer.h"

#include "containers/explorer/KernelLayout.h"
#include "platform/base/Exceptions.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <boost/filesystem/path.hpp>

namespace fs = boost::filesystem;

namespace kfab::kernel {
namespace {

/// What stands before the last component; empty when that stands alone.
std::string directoryOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    path = path.substr(0, slash == std::string_view::npos ? 0 : slash);
    return std::string(HUTPathUtils::withoutTrailingSeparators(path));
}

/// Whether it can be seen to be there.
bool isThere(const std::string& path) {
    try {
        return HUTFile::exists(path);
    } catch (const HEXAlgException&) {
        return false;
    }
}

}  // namespace

ArchiveExplorer::ArchiveExplorer(const std::string& packagePath, const std::shared_ptr<HKPContainer>&,
                                 bool supportsIPCache, std::shared_ptr<const ArchiveSnapshot> version)
    : root_(packagePath), ipCacheSupported_(supportsIPCache), version_(std::move(version)) {}

ArchiveExplorer::~ArchiveExplorer() = default;

bool ArchiveExplorer::addKernelDef(const KernelDef& def) {
    return kernels_.try_emplace(def.name, def).second;
}

std::string ArchiveExplorer::getVLNV(const std::string& kernelName) const {
    const auto kernel = kernels_.find(kernelName);
    return kernel == kernels_.end() ? std::string() : kernel->second.vlnv;
}

void ArchiveExplorer::getKernelDefs(std::vector<KernelDef>& out) const {
    out.clear();
    for (const auto& [name, definition] : kernels_)
        out.push_back(definition);
}

void ArchiveExplorer::getKernelDefNames(std::set<std::string>& out) const {
    out.clear();
    for (const auto& [name, definition] : kernels_)
        out.insert(name);
}

std::string ArchiveExplorer::getRoot() const {
    std::string directory = fs::path(root_).parent_path().string();
    if (!directory.empty() && isThere(directory)) return directory;
    return HUTPathUtils::parent(disk::absolute(std::string(HUTPathUtils::lastComponent(root_))));
}

std::shared_ptr<const ArchiveSnapshot> ArchiveExplorer::package_() const {
    return version_ ? version_ : ArchiveSnapshot::open(root_);
}

/// Joined as text: a name that begins with "/" is appended like any other.
std::string ArchiveExplorer::inRoot_(const std::string& name) const {
    return HUTPathUtils::join(getRoot(), name);
}

std::string ArchiveExplorer::inKernelRoot_(const std::string& kernelName, const char* folder) const {
    const std::string root = getKernelDefRoot(kernelName);
    return root.empty() ? root : HUTPathUtils::join(root, folder);
}

std::string ArchiveExplorer::find_(const std::string& kernelName, const std::string& fileName) const {
    const auto package = package_();
    const ArchiveEntry* entry = package->firstFileWith(fileName, kernelName);
    return entry == nullptr ? std::string() : inRoot_(directoryOf(entry->name));
}

std::string ArchiveExplorer::getPath(const std::string& kernelName, const std::string& fileName) const {
    return find_(kernelName, fileName);
}

std::string ArchiveExplorer::getKernelDefRoot(const std::string& kernelName) const {
    return find_(kernelName, layout::kernelXml);
}

std::string ArchiveExplorer::getCpuSourcesRoot(const std::string& kernelName) const {
    return inKernelRoot_(kernelName, layout::cpuSources);
}

std::string ArchiveExplorer::getPdiFilesRoot(const std::string& kernelName) const {
    return inKernelRoot_(kernelName, layout::pdi);
}

std::string ArchiveExplorer::getSwEmuFilesRoot(const std::string& kernelName) const {
    return inKernelRoot_(kernelName, layout::swEmu);
}

std::string ArchiveExplorer::getShimSolnFileRoot(const std::string& kernelName) const {
    return inKernelRoot_(kernelName, layout::shimSoln);
}

std::string ArchiveExplorer::getDebugRoot(const std::string& kernelName) const {
    return inKernelRoot_(kernelName, layout::debug);
}

std::string ArchiveExplorer::getHlsRoot(const std::string& kernelName) const {
    return inKernelRoot_(kernelName, layout::hls);
}

bool ArchiveExplorer::appendFiles_(const std::string& kernelName, const char* folder,
                                   std::vector<std::string>& out) const {
    const auto package = package_();
    for (const ArchiveEntry* file :
         package->filesWithPrefix(kernelName + HUTFile::getDirSeparator() + folder))
        out.emplace_back(file->name);
    return true;
}

bool ArchiveExplorer::getCpuSources(const std::string& kernelName, std::vector<std::string>& out) const {
    return appendFiles_(kernelName, layout::cpuSources, out);
}

bool ArchiveExplorer::getPdiFiles(const std::string& kernelName, std::vector<std::string>& out) const {
    return appendFiles_(kernelName, layout::pdi, out);
}

bool ArchiveExplorer::getSwEmuFiles(const std::string& kernelName, std::vector<std::string>& out) const {
    return appendFiles_(kernelName, layout::swEmu, out);
}

bool ArchiveExplorer::getShimSolnFile(const std::string& kernelName, std::string& out) const {
    std::vector<std::string> files;
    appendFiles_(kernelName, layout::shimSoln, files);
    if (!files.empty()) out = files.front();
    return true;
}

std::string ArchiveExplorer::getIPDefinitionRoot(const std::string& kernelName) const {
    const std::string definition = getPath(kernelName, layout::ipDefinition);
    return inRoot_(definition.empty() ? layout::ipRepo : directoryOf(definition));
}

std::string ArchiveExplorer::getHierTopIPPath(const std::string&) const {
    return ".";
}

std::string ArchiveExplorer::getIPCacheRoot(const std::string&) const {
    return ipCacheSupported_ ? inRoot_(layout::ipCache) : std::string();
}

bool ArchiveExplorer::supportsIPCache() const {
    return ipCacheSupported_;
}

bool ArchiveExplorer::existsDir(const std::string& path) const {
    const fs::path relative = fs::path(path).remove_trailing_separator().lexically_relative(getRoot());
    return !relative.empty() && package_()->isDirectory(relative.string());
}

}  // namespace kfab::kernel
