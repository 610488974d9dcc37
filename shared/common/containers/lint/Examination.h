#pragma once

#include "containers/lint/Outcome.h"

namespace kfab::lint {

struct KernelFacts;

/// What all rules find in the facts of one kernel.
Outcome examine(const KernelFacts& facts);

}  // namespace kfab::lint
