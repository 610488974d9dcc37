#pragma once

#include "containers/kp/HKPContainer.h"
#include "containers/kp/KernelAddition.h"
#include "platform/zip/ArchiveEdit.h"

#include <string>
#include <vector>

/// The IP repository of a package in an edit: what makes room in it, and whom that concerns.
class IpPlacement {
public:
    IpPlacement(const KernelAddition& request, HKPContainer& container, ArchiveEdit& edit)
        : request_(request), container_(container), edit_(edit) {}

    /// Takes the IP of a kernel that is replaced out of the repository, unless another kernel uses it.
    void removeIpOf(const HKPKernel& replaced);

    /// Makes room for the IP of the kernel and returns its folder, which the VLNV names. Kernels of one VLNV
    /// share it: their entries follow its spelling, and 17-1525 is posted, with the names of the kernels
    /// whose IP becomes another one. Throws HKPIpTaken when the request does not want that.
    std::string makeRoom(const std::string& vlnv, const std::string& vlnvAsFolder);

private:
    bool isOwn(const HKPKernel& kernel) const;
    std::string folderOf(const std::string& vlnv, const std::string& vlnvAsFolder) const;
    void requireNoNesting(const std::string& folder) const;
    bool isAnother(const std::string& present) const;
    [[noreturn]] void refuseToChange(const std::string& folder,
                                     const std::vector<std::string>& kernels) const;

    const KernelAddition& request_;
    HKPContainer& container_;
    ArchiveEdit& edit_;
};

/// Posts which kernels' IPs nobody finds any more once the package is written in a layout: its number in the
/// manifest tells where they are looked for.
void tellWhoseIpIsLost(const HKPContainer& container, const std::string& package, bool ipRepoLayout);
