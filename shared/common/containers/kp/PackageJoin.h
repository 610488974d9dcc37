#pragma once

#include "containers/kp/KernelAddition.h"

#include <cstddef>
#include <string>
#include <vector>

/// A package that is to be made of all kernels of others, and how.
struct PackageJoin {
    std::string kpPath;               ///< the package to make; nothing may be there yet
    std::vector<std::string> inputs;  ///< the packages to join
    bool sorts = false;         ///< kernels by name, byte by byte, instead of in the order of the inputs
    bool checkVersion = false;  ///< refuse inputs that later software wrote
    BrokenSeal brokenSeal = BrokenSeal::Refuse;  ///< of the inputs
    std::size_t jobs = 1;  ///< so many threads, the calling one among them, may take part
};
