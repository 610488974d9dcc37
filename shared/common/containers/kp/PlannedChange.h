#pragma once

#include "containers/kp/HKPKernel.h"
#include "platform/zip/ArchiveChanges.h"

#include <memory>
#include <vector>

/// What the addition of a kernel to a package would do.
struct PlannedAddition {
    std::unique_ptr<HKPKernel> kernel;  ///< as it would be in the package
    ArchiveChanges members;
};

/// What the removal of kernels from a package, or the joining of packages, would do.
struct PlannedChange {
    std::vector<std::unique_ptr<HKPKernel>> kernels;  ///< those that go, or that the new package has
    ArchiveChanges members;
};
