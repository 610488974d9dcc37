#pragma once

#include "containers/explorer/ExplorerIface.h"
#include "platform/base/Export.h"

#include <memory>
#include <string>
#include <unordered_map>

class ArchiveSnapshot;
class HKPContainer;

namespace kfab::kernel {

/// Explores kernels inside their package, without extracting anything. Definitions are those that were added;
/// where things lie is answered from the package as it is when that is asked, unless a version of it is
/// given. A package that is missing or unreadable throws HEXAlgException then.
///
/// Paths of directories are the directory of the package joined with a path inside the package. Kernels are
/// found by name: a directory is the kernel's when the kernel's name is one component of its path.
class KP_EXPORT ArchiveExplorer : public ExplorerIface {
public:
    /// The container is not used.
    /// @param version of the package to answer from; none for the one that is there when something is asked
    ArchiveExplorer(const std::string& packagePath, const std::shared_ptr<HKPContainer>& container,
                    bool supportsIPCache, std::shared_ptr<const ArchiveSnapshot> version = nullptr);
    ~ArchiveExplorer() override;

    /// False, and nothing done, when there is a definition of the name already.
    bool addKernelDef(const KernelDef& def);

    /// As added.
    std::string getVLNV(const std::string& kernelName) const override;
    void getKernelDefs(std::vector<KernelDef>& out) const override;
    /// The directory of the package; the working directory when the package's path names none that exists.
    std::string getRoot() const override;
    /// The directory of the first file in the package that has this name and a component of its path, the
    /// file's name included, equal to the kernel's name.
    std::string getPath(const std::string& kernelName, const std::string& fileName) const override;
    std::string getKernelDefRoot(const std::string& kernelName) const override;

    /// Roots follow from the root of the kernel, whether or not the package holds them. The files are names
    /// in the package that begin with the kernel's name, "/" and the directory's name, without regard to
    /// case; these operations always return true.
    /// @{
    std::string getCpuSourcesRoot(const std::string& kernelName) const override;
    bool getCpuSources(const std::string& kernelName, std::vector<std::string>& out) const override;
    std::string getPdiFilesRoot(const std::string& kernelName) const override;
    bool getPdiFiles(const std::string& kernelName, std::vector<std::string>& out) const override;
    std::string getSwEmuFilesRoot(const std::string& kernelName) const override;
    bool getSwEmuFiles(const std::string& kernelName, std::vector<std::string>& out) const override;
    std::string getShimSolnFileRoot(const std::string& kernelName) const override;
    bool getShimSolnFile(const std::string& kernelName, std::string& out) const override;
    std::string getDebugRoot(const std::string& kernelName) const override;
    std::string getHlsRoot(const std::string& kernelName) const override;
    /// @}

    /// "ip_repo" below the root; or, when the kernel has a "component.xml", the directory above that one's
    /// as getPath tells it, joined to the root once more, so that the root stands there twice.
    std::string getIPDefinitionRoot(const std::string& kernelName) const override;
    /// Always ".".
    std::string getHierTopIPPath(const std::string& kernelName) const override;
    /// "ip_cache" below the root, for whatever kernel; empty when IP caches are not supported.
    std::string getIPCacheRoot(const std::string& kernelName) const override;
    void getKernelDefNames(std::set<std::string>& out) const override;
    bool supportsIPCache() const override;
    /// Whether the package holds the directory, be it only implied by a file. False for what does not lie
    /// below the root.
    bool existsDir(const std::string& path) const override;

private:
    std::shared_ptr<const ArchiveSnapshot> package_() const;
    std::string inRoot_(const std::string& name) const;
    std::string inKernelRoot_(const std::string& kernelName, const char* folder) const;
    std::string find_(const std::string& kernelName, const std::string& fileName) const;
    bool appendFiles_(const std::string& kernelName, const char* folder, std::vector<std::string>& out) const;

    std::string root_;  ///< the package's path
    std::unordered_map<std::string, KernelDef> kernels_;
    bool ipCacheSupported_;
    std::shared_ptr<const ArchiveSnapshot> version_;
};

}  // namespace kfab::kernel
