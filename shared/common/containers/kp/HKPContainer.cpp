#include "containers/kp/HKPContainer.h"

#include "platform/base/HSTStringUtils.h"

#include <algorithm>

bool HKPContainer::addIpCacheIfUnique(const std::string& dir) {
    if (!ipCacheNames_.insert(dir).second) return false;
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

HKPContainer::KernelList::const_iterator HKPContainer::find_(const std::string& name) const {
    if (!indexIsCurrent_) rebuildIndex_();
    const auto found = index_.find(HSTStringUtils::foldCase(name));
    return found == index_.end() ? kernels_.end() : found->second;
}

HKPKernel* HKPContainer::getKPKernelByName(const std::string& name) const {
    const auto found = find_(name);
    return found == kernels_.end() ? nullptr : found->get();
}

HKPKernel* HKPContainer::appendKPKernel(std::unique_ptr<HKPKernel> kernel) {
    kernel->namesAreCurrent_ = &indexIsCurrent_;
    const auto place = kernels_.insert(kernels_.end(), std::move(kernel));
    if (indexIsCurrent_) index_.emplace(HSTStringUtils::foldCase((*place)->getName()), place);
    return place->get();
}

std::unique_ptr<HKPKernel> HKPContainer::unlink_(KernelList::const_iterator place) {
    if (place == kernels_.end()) return nullptr;
    const bool namesAreUnique = indexIsCurrent_ && index_.size() == kernels_.size();
    if (namesAreUnique)
        index_.erase(HSTStringUtils::foldCase((*place)->getName()));
    else
        indexIsCurrent_ = false;
    KernelList unlinked;
    unlinked.splice(unlinked.end(), kernels_, place);
    unlinked.front()->namesAreCurrent_ = nullptr;
    return std::move(unlinked.front());
}

std::unique_ptr<HKPKernel> HKPContainer::removeKPKernel(HKPKernel* kernel) {
    return unlink_(std::find_if(kernels_.begin(), kernels_.end(),
                                [&](const auto& entry) { return entry.get() == kernel; }));
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

    std::unique_ptr<HKPKernel> existing = unlink_(find_(name));
    if (existing && !replace) {
        existing->setIsPdiDir(isPdiDir || existing->getIsPdiDir());
        existing->setIsShimSolnDir(isShimSolnDir || existing->getIsShimSolnDir());
        return appendKPKernel(std::move(existing));
    }
    return appendKPKernel(std::move(added));
}
