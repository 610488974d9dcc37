#pragma once

#include "containers/kp/HKPContainer.h"
#include "containers/kp/KernelExtraction.h"

#include <vector>

class ArchiveSnapshot;

/// Throws HKPFilesThere where extracting kernels of a package would replace what is there. What comes with
/// each kernel, the IP repository or an IP of it, may be there while it is the same.
/// @param version of the package; none when the path is that of a manifest alone
void requireFreePlace(const KernelExtraction& request, const std::vector<const HKPKernel*>& kernels,
                      bool hasRepository, const ArchiveSnapshot* version);
