// Removing kernels from packages.

#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/HKPContainerXMLWriter.h"
#include "containers/kp/KernelPlaces.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageSeal.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/base/Spelling.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveEdit.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>

namespace {

using Kernels = std::vector<std::unique_ptr<HKPKernel>>;

std::string folderOf(const std::string& directory) {
    return std::string(HUTPathUtils::withoutTrailingSeparators(directory));
}

/// Stages one removal into an edit of the package.
class Removal {
public:
    Removal(const KernelRemoval& request, ArchiveEdit& edit) : request_(request), edit_(edit) {}

    Kernels stage() {
        HKPContainerXMLReader(request_.kpPath, container_, edit_.snapshot()).parseEntries();
        const std::uint32_t major = container_.getVersionMajor(), minor = container_.getVersionMinor();
        const PackageSeal seal{request_.kpPath, edit_.snapshot(), major, minor};
        if (seal.isRenewed(request_.brokenSeal)) edit_.seal();
        for (const std::string& name : request_.kernelNames)
            take(name);
        notePlacesOfOthers();
        for (const auto& kernel : removed_)
            removeFilesOf(*kernel);
        HKPContainerXMLWriter(container_, request_.kpPath)
            .writeKPContainer(layout::hasRepository(major), edit_);
        return std::move(removed_);
    }

private:
    void take(const std::string& name) {
        if (!taken_.insert(HSTStringUtils::foldCase(name)).second) return;
        HKPKernel* const kernel = container_.getKPKernelByName(name);
        if (kernel == nullptr) refuseUnknown(name);
        removed_.push_back(container_.removeKPKernel(kernel));
    }

    [[noreturn]] void refuseUnknown(const std::string& name) const {
        std::vector<std::string> names;
        const auto [first, last] = container_.getKPKernelRange();
        std::transform(first, last, std::back_inserter(names),
                       [](const auto& kernel) { return kernel->getName(); });
        const std::string meant = nearestSpelling(name, names);
        throw HKPKernelNotFound("Kernel '" + name + "' was not found inside KP container '" +
                                request_.kpPath + "'" +
                                (meant.empty() ? "" : "; did you mean '" + meant + "'?") + "\n");
    }

    void notePlacesOfOthers() {
        const auto [first, last] = container_.getKPKernelRange();
        for (auto entry = first; entry != last; ++entry) {
            const HKPKernel& kernel = **entry;
            for (const std::string& folder :
                 {kernel.getDirectory(), kernel.getName(), std::string(kernel.getIpDir())})
                others_.add(folder, kernel.getName());
            ipsOfOthers_.insert(HSTStringUtils::foldCase(folderOf(kernel.getIpDir())));
        }
    }

    void removeFilesOf(const HKPKernel& kernel) {
        for (const std::string& directory : {kernel.getDirectory(), kernel.getName()})
            removeDirectory(kernel, folderOf(directory));
        const std::string ip = folderOf(kernel.getIpDir());
        const bool isItsOwn = layout::isInRepository(ip) || layout::unfitToChange(ip).empty();
        if (isItsOwn && !ipsOfOthers_.contains(HSTStringUtils::foldCase(ip))) removeFolder(kernel, "IP", ip);
    }

    void removeDirectory(const HKPKernel& kernel, const std::string& directory) {
        if (!edit_.snapshot()->isDirectory(directory)) return;
        const std::string reason = layout::unfitToChange(directory);
        if (!reason.empty())
            throw HKPRefused("The directory '" + directory + "' of kernel '" + kernel.getName() + "' in '" +
                             request_.kpPath + "' cannot be removed: " + reason + "\n");
        removeFolder(kernel, "directory", directory);
    }

    void removeFolder(const HKPKernel& kernel, const std::string& what, const std::string& folder) {
        if (const std::string* other = others_.ownerNear(folder))
            throw HKPRefused("Kernel '" + kernel.getName() + "' cannot be removed from KP container '" +
                             request_.kpPath + "' because kernel '" + *other + "' has files in its " + what +
                             " '" + folder + "'\n");
        edit_.deleteFolder(folder);
    }

    const KernelRemoval& request_;
    ArchiveEdit& edit_;
    HKPContainer container_;  ///< without those that are removed
    Kernels removed_;
    std::unordered_set<std::string> taken_;  ///< their names, in lower case
    TakenFolders others_;
    std::unordered_set<std::string> ipsOfOthers_;  ///< in lower case
};

}  // namespace

void HKPContainerUtils::removeKernels(const KernelRemoval& removal) {
    requireKPContainer_(removal.kpPath);
    ArchiveEdit edit(removal.kpPath);
    Removal(removal, edit).stage();
    edit.commit();
}

PlannedChange HKPContainerUtils::planKernelRemoval(const KernelRemoval& removal) {
    requireKPContainer_(removal.kpPath);
    ArchiveEdit edit(removal.kpPath);
    Kernels kernels = Removal(removal, edit).stage();
    return {std::move(kernels), edit.rehearse()};
}
