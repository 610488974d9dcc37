#pragma once

#include "containers/kp/HKPContainer.h"

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace cli {

using Kernels = std::vector<const HKPKernel*>;

/// All kernels in the package's order, or the one that is asked for by its name in any case of letters; owned
/// by the container. Throws when the package lacks that one.
Kernels chosenKernels(const HKPContainer& container, const std::string& package,
                      const std::optional<std::string>& name);

/// A kernel as its manifest entry states it, and a list of them.
nlohmann::ordered_json describeKernel(const HKPKernel& kernel);
nlohmann::ordered_json describeKernels(const Kernels& kernels);

/// Writes a line for each kernel to standard output: its name, flows and flags.
void printKernels(const Kernels& kernels);
/// The same for eyes: with a header, and no wider than the terminal.
void showKernels(const Kernels& kernels);

}  // namespace cli
