#pragma once

#include "containers/kp/HKPKernel.h"
#include "platform/zip/ArchiveChanges.h"

#include <memory>

/// What the addition of a kernel to a package would do.
struct PlannedAddition {
    std::unique_ptr<HKPKernel> kernel;  ///< as it would be in the package
    ArchiveChanges members;
};
