#pragma once

#include "containers/kp/HKPKernel.h"
#include "platform/base/Export.h"

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

/// A package in memory: versions, IP caches and kernels, as its manifest has them. Knows nothing of files.
class KP_EXPORT HKPContainer {
public:
    using KernelList = std::list<std::unique_ptr<HKPKernel>>;
    using KernelRange = std::pair<KernelList::const_iterator, KernelList::const_iterator>;
    using IpCacheRange =
        std::pair<std::vector<std::string>::const_iterator, std::vector<std::string>::const_iterator>;

    HKPContainer() = default;
    HKPContainer(const HKPContainer&) = delete;
    HKPContainer& operator=(const HKPContainer&) = delete;

    std::uint32_t getVersionMajor() const { return versionMajor_; }
    void setVersionMajor(std::uint32_t version) { versionMajor_ = version; }
    std::uint32_t getVersionMinor() const { return versionMinor_; }
    void setVersionMinor(std::uint32_t version) { versionMinor_ = version; }
    std::uint32_t getSoftwareVersionMajor() const { return softwareVersionMajor_; }
    void setSoftwareVersionMajor(std::uint32_t version) { softwareVersionMajor_ = version; }
    std::uint32_t getSoftwareVersionMinor() const { return softwareVersionMinor_; }
    void setSoftwareVersionMinor(std::uint32_t version) { softwareVersionMinor_ = version; }

    bool getIsIpCacheDir() const { return isIpCacheDir_; }
    void setIsIpCacheDir(bool value) { isIpCacheDir_ = value; }
    IpCacheRange getIpCachesRange() const { return {ipCaches_.begin(), ipCaches_.end()}; }
    /// Appends the directory and sets the cache flag; false, and nothing changed, when the very text is
    /// there.
    bool addIpCacheIfUnique(const std::string& dir);

    KernelRange getKPKernelRange() const { return {kernels_.begin(), kernels_.end()}; }
    /// The first entry of the name without regard to case, owned by the container; none when there is none.
    HKPKernel* getKPKernelByName(const std::string& name) const;

    /// Appends an entry and returns it, owned by the container. An entry of the name without regard to case
    /// leaves the list: with `replace` the new one stands for it as given; without, the new one takes over
    /// all its data but gains a device image or shim solution flag that is given.
    HKPKernel* addKPKernel(const std::string& name, const std::string& directory, const std::string& ipDir,
                           const std::string& topIpDir, const std::string& projectID,
                           const std::vector<HKPKernel::SupportedFlowType>& supportedFlows, bool isDebugDir,
                           bool isHlsDir, bool isPdiDir, bool isShimSolnDir, bool isDebug, bool isRtlKernel,
                           bool isSwEmuDir, bool replace);

    /// Appends an entry that another container had, and returns it.
    HKPKernel* appendKPKernel(std::unique_ptr<HKPKernel> kernel);

    /// Takes this very entry off the list and hands it to the caller; none when the list lacks it, which may
    /// be so because it is no more.
    [[nodiscard]] std::unique_ptr<HKPKernel> removeKPKernel(HKPKernel* kernel);

private:
    KernelList::const_iterator find_(const std::string& name) const;
    std::unique_ptr<HKPKernel> unlink_(KernelList::const_iterator place);
    void rebuildIndex_() const;

    std::vector<std::string> ipCaches_;
    std::unordered_set<std::string> ipCacheNames_;  // the same, for finding one of many
    KernelList kernels_;
    bool isIpCacheDir_ = false;
    std::uint32_t versionMajor_ = 0;
    std::uint32_t versionMinor_ = 0;
    std::uint32_t softwareVersionMajor_ = 0;
    std::uint32_t softwareVersionMinor_ = 0;

    // The first kernel of each name in lower case. Renaming an entry, and removing one of several that share
    // a name, puts the index out of date; the next question makes it anew.
    mutable std::unordered_map<std::string, KernelList::const_iterator> index_;
    mutable bool indexIsCurrent_ = true;
};
