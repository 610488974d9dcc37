#pragma once

#include "containers/kp/HKPContainer.h"

#include <string>

/// The first kernel other than `own` with files in a folder of the package, or the folder in one of its own:
/// by its directory or its name, which its description lies under, and unless told otherwise by its IP. None
/// when all keep clear of it.
const HKPKernel* otherKernelIn(const HKPContainer& container, const std::string& folder, const HKPKernel* own,
                               bool countsIps = true);
