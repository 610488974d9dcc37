#pragma once

#include "containers/kp/HKPContainer.h"

#include <map>
#include <string>

/// The first kernel other than `own` with files in a folder of the package, or the folder in one of its own:
/// by its directory or its name, which its description lies under, and unless told otherwise by its IP. None
/// when all keep clear of it.
const HKPKernel* otherKernelIn(const HKPContainer& container, const std::string& folder, const HKPKernel* own,
                               bool countsIps = true);

/// Folders of a package and who has them, for asking about many. Without regard to case.
class TakenFolders {
public:
    /// Nothing takes the empty folder.
    void add(const std::string& folder, const std::string& owner);
    /// One other than `own` who has the folder, one in it or one around it; none when all keep clear of it.
    const std::string* ownerNear(const std::string& folder, const std::string& own = "") const;

private:
    std::multimap<std::string, std::string> owners_;
};
