#pragma once

#include "containers/kp/HKPContainer.h"

#include <optional>
#include <string>
#include <vector>

namespace cli {

/// All kernels in the package's order, or the one that is asked for by its name in any case of letters; owned
/// by the container. Throws when the package lacks that one.
std::vector<const HKPKernel*> chosenKernels(const HKPContainer& container, const std::string& package,
                                            const std::optional<std::string>& name);

}  // namespace cli
