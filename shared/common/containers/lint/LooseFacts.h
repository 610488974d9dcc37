#pragma once

#include "containers/kp/KernelAddition.h"
#include "containers/lint/KernelFacts.h"
#include "containers/lint/LooseKernel.h"

namespace kfab::lint {

/// The facts of a kernel that is not in a package. Throws as lintKernel does.
KernelFacts factsOf(const LooseKernel& kernel);
/// Of a description that is read already; its name stands for it in errors.
KernelFacts factsOf(const std::string& name, std::string document);
/// Of a kernel that is to be added to a package, the package included. Throws as lintAddition does.
KernelFacts factsOf(const KernelAddition& addition);

}  // namespace kfab::lint
