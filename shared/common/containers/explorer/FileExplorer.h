#pragma once

#include "containers/explorer/ExplorerIface.h"
#include "containers/kp/HKPContainer.h"
#include "platform/base/Export.h"

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

namespace kfab::kernel {

/// Explores kernels that were extracted to a directory. It knows what was registered with it: first each
/// kernel's root, then the directories that exist for it. Filled by one thread; from then on any number may
/// ask.
class KP_EXPORT FileExplorer : public ExplorerIface {
public:
    /// @param root            the directory that everything lies below
    /// @param container       the package that the kernels come from; needed once kernels are registered.
    ///                        Entries may be taken off it at any time
    /// @param supportsIPCache whether directories of IP caches can be registered
    FileExplorer(const std::string& root, const std::shared_ptr<HKPContainer>& container,
                 bool supportsIPCache);
    ~FileExplorer() override;

    /// Registers the kernel whose description lies in `rootDir`. Of a kernel registered before, description
    /// and root are replaced, and its other directories stay. When the description cannot be read, a line
    /// on standard output says so and the result is false.
    bool addKernelRootDir(const std::string& kernelName, const std::string& rootDir);

    /// Directories of a registered kernel, stored as given; false, and nothing done, for any other kernel.
    /// @{
    bool addCpuSourcesDir(const std::string& kernelName, const std::string& dir);
    bool addSwEmuFilesDir(const std::string& kernelName, const std::string& dir);
    bool addPdiFilesDir(const std::string& kernelName, const std::string& dir);
    bool addShimSolnFileDir(const std::string& kernelName, const std::string& dir);
    bool addDebugDir(const std::string& kernelName, const std::string& dir);
    bool addHlsDir(const std::string& kernelName, const std::string& dir);
    bool addIPDefinitionDir(const std::string& kernelName, const std::string& dir);
    /// False as well when IP caches are not supported.
    bool addIPCacheDir(const std::string& kernelName, const std::string& dir);
    /// @}

    std::string getVLNV(const std::string& kernelName) const override;
    void getKernelDefs(std::vector<KernelDef>& out) const override;
    std::string getRoot() const override;
    /// The first file or directory of the name below the kernel's root, in the file system's order, links to
    /// directories not followed. Throws HEXAlgException with the text
    /// "filesystem::recursive_directory_iterator directory error" where a directory cannot be read.
    std::string getPath(const std::string& kernelName, const std::string& fileName) const override;
    std::string getKernelDefRoot(const std::string& kernelName) const override;
    /// The files are full paths, sorted. False when there is no such directory.
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
    std::string getIPDefinitionRoot(const std::string& kernelName) const override;
    std::string getHierTopIPPath(const std::string& kernelName) const override;
    std::string getIPCacheRoot(const std::string& kernelName) const override;
    void getKernelDefNames(std::set<std::string>& out) const override;
    bool supportsIPCache() const override;
    bool existsDir(const std::string& path) const override;
    /// @}

private:
    /// A registered kernel. Empty texts: it has no such directory.
    struct KernelDesc {
        std::string vlnv;
        std::string kernelDefRoot;
        std::string cpuSourcesRoot;
        std::string pdiFilesRoot;
        std::string shimSolnFileRoot;
        std::string debugRoot;
        std::string hlsRoot;
        std::string swEmuFilesRoot;
        std::string ipDefinitionRoot;
        std::string ipCacheRoot;
        bool hasEntry = false;               ///< whether the container had the kernel
        std::optional<KernelDef> kernelDef;  ///< emplaced: assigning a definition would append to it
    };
    using Text = std::string KernelDesc::*;

    bool setText_(const std::string& kernelName, Text text, const std::string& value);
    std::string text_(const std::string& kernelName, Text text) const;
    bool appendFiles_(const std::string& directory, std::vector<std::string>& out) const;

    std::string root_;
    std::shared_ptr<HKPContainer> container_;
    std::unordered_map<std::string, KernelDesc> kernels_;
    bool ipCacheSupported_;
};

}  // namespace kfab::kernel
