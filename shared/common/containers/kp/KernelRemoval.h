#pragma once

#include "containers/kp/KernelAddition.h"

#include <string>
#include <vector>

/// Kernels that are to be removed from a package, and how.
struct KernelRemoval {
    std::string kpPath;                    ///< the package
    std::vector<std::string> kernelNames;  ///< in any case of letters; all of them go, or none
    BrokenSeal brokenSeal = BrokenSeal::Refuse;
};
