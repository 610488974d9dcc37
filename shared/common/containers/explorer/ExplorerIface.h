#pragma once

#include "containers/kernel/KernelDef.h"
#include "platform/base/Export.h"

#include <set>
#include <string>
#include <vector>

namespace kfab::kernel {

/// Tells where the parts of kernels lie, be the kernels extracted or still in their package.
///
/// A kernel that is not known is no error: roots are empty then, and lists stay as they are. An explorer
/// that needs one of these answers itself asks through the interface, so a derived explorer that moves a
/// root moves the files with it. The order of the operations is binding: host code calls them by slot.
class KP_EXPORT ExplorerIface {
public:
    virtual ~ExplorerIface();

    /// vendor:library:name:version; empty when unknown.
    virtual std::string getVLNV(const std::string& kernelName) const = 0;
    /// Replaces what `out` held.
    virtual void getKernelDefs(std::vector<KernelDef>& out) const = 0;
    /// The directory that everything lies below.
    virtual std::string getRoot() const = 0;
    /// Looks for a file of the name among those of the kernel; empty when there is none.
    virtual std::string getPath(const std::string& kernelName, const std::string& fileName) const = 0;
    /// The directory that holds the kernel's description.
    virtual std::string getKernelDefRoot(const std::string& kernelName) const = 0;

    /// Directories of the kernel, and the files in them. The lists append to `out`.
    /// @{
    virtual std::string getCpuSourcesRoot(const std::string& kernelName) const = 0;
    virtual bool getCpuSources(const std::string& kernelName, std::vector<std::string>& out) const = 0;
    virtual std::string getPdiFilesRoot(const std::string& kernelName) const = 0;
    virtual bool getPdiFiles(const std::string& kernelName, std::vector<std::string>& out) const = 0;
    virtual std::string getSwEmuFilesRoot(const std::string& kernelName) const = 0;
    virtual bool getSwEmuFiles(const std::string& kernelName, std::vector<std::string>& out) const = 0;
    virtual std::string getShimSolnFileRoot(const std::string& kernelName) const = 0;
    /// Sets `out` to the first file of the directory; leaves it alone when there is none.
    virtual bool getShimSolnFile(const std::string& kernelName, std::string& out) const = 0;
    virtual std::string getDebugRoot(const std::string& kernelName) const = 0;
    virtual std::string getHlsRoot(const std::string& kernelName) const = 0;
    /// @}

    virtual std::string getIPDefinitionRoot(const std::string& kernelName) const = 0;
    /// The top IP directory, relative to the IP repository; "." when unknown.
    virtual std::string getHierTopIPPath(const std::string& kernelName) const = 0;
    virtual std::string getIPCacheRoot(const std::string& kernelName) const = 0;
    /// Replaces what `out` held.
    virtual void getKernelDefNames(std::set<std::string>& out) const = 0;
    virtual bool supportsIPCache() const = 0;
    /// Whether a path, as these operations return them, leads to a directory.
    virtual bool existsDir(const std::string& path) const = 0;

protected:
    ExplorerIface() = default;
    ExplorerIface(const ExplorerIface&) = default;
    ExplorerIface& operator=(const ExplorerIface&) = default;
};

}  // namespace kfab::kernel
