#pragma once

#include "cli/Kernels.h"
#include "containers/kp/PlannedChange.h"

#include <nlohmann/json_fwd.hpp>

namespace cli {

/// Prints what a dry run found: a line for each kernel, and one for each member that is added (+), replaced
/// by other bytes (~) or removed (-).
void printPlan(const Kernels& kernels, const ArchiveChanges& members);

/// Prints it as an object that says of the kernels what `plan` does.
void printPlan(nlohmann::ordered_json plan, const ArchiveChanges& members);

/// Prints it either way; the object has the kernels as "kernels".
void printPlan(const PlannedChange& plan, bool json);

}  // namespace cli
