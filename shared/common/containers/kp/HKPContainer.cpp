#include "containers/kp/HKPContainer.h"

#include "platform/base/HSTStringUtils.h"

#include <algorithm>

bool HKPContainer::addIpCacheIfUnique(const std::string& dir) {
    if (std::find(ipCaches_.begin(), ipCaches_.end(), dir) != ipCaches_.end()) return false;
    ipCaches_.push_back(dir);
    isIpCacheDir_ = true;
    return true;
}

void HKPContainer::rebuildIndex_() const {
    index_.clear();
    for (auto kernel = kernels_.begin(); kernel != kernels_.end(); ++kernel)
        index_.emplace(HSTStringUtils::foldCase((*kernel)->getName()), kernel);
    indexIsCurrent_ = true;
}

HKPKernel* HKPContainer::getKPKernelByName(const std::string& name) const {
    if (!indexIsCurrent_) rebuildIndex_();
    const auto found = index_.find(HSTStringUtils::foldCase(name));
    return found == index_.end() ? nullptr : found->second->get();
}

HKPKernel* HKPContainer::append_(std::unique_ptr<HKPKernel> kernel) {
    kernel->container_ = this;
    const auto place = kernels_.insert(kernels_.end(), std::move(kernel));
    if (indexIsCurrent_) index_.emplace(HSTStringUtils::foldCase((*place)->getName()), place);
    return place->get();
}

std::unique_ptr<HKPKernel> HKPContainer::removeKPKernel(HKPKernel* kernel) {
    if (kernel == nullptr || kernel->container_ != this) return nullptr;
    const bool namesAreUnique = indexIsCurrent_ && index_.size() == kernels_.size();
    KernelList::const_iterator place;
    if (namesAreUnique) {
        const auto indexed = index_.find(HSTStringUtils::foldCase(kernel->getName()));
        place = indexed->second;
        index_.erase(indexed);
    } else {
        place = std::find_if(kernels_.begin(), kernels_.end(),
                             [&](const auto& entry) { return entry.get() == kernel; });
        indexIsCurrent_ = false;
    }
    const auto changeable =
        kernels_.erase(place, place);  // the same place, as an iterator that may change it
    std::unique_ptr<HKPKernel> removed = std::move(*changeable);
    kernels_.erase(changeable);
    removed->container_ = nullptr;
    return removed;
}

HKPKernel* HKPContainer::addKPKernel(const std::string& name, const std::string& directory,
                                     const std::string& ipDir, const std::string& topIpDir,
                                     const std::string& projectID,
                                     const std::vector<HKPKernel::SupportedFlowType>& supportedFlows,
                                     bool isDebugDir, bool isHlsDir, bool isPdiDir, bool isShimSolnDir,
                                     bool isDebug, bool isRtlKernel, bool isSwEmuDir, bool replace) {
    auto added = std::make_unique<HKPKernel>();
    added->setName(name);
    added->setDirectory(directory);
    added->setIpDir(ipDir);
    added->setTopIpDir(topIpDir);
    added->setProjectID(projectID);
    added->setSupportedFlows(supportedFlows);
    added->setIsRtlKernel(isRtlKernel);
    added->setIsDebug(isDebug);
    added->setIsDebugDir(isDebugDir);
    added->setIsHlsDir(isHlsDir);
    added->setIsPdiDir(isPdiDir);
    added->setIsShimSolnDir(isShimSolnDir);
    added->setIsSwEmuDir(isSwEmuDir);

    std::unique_ptr<HKPKernel> existing = removeKPKernel(getKPKernelByName(name));
    if (existing && !replace) {
        existing->setIsPdiDir(isPdiDir || existing->getIsPdiDir());
        existing->setIsShimSolnDir(isShimSolnDir || existing->getIsShimSolnDir());
        return append_(std::move(existing));
    }
    return append_(std::move(added));
}
