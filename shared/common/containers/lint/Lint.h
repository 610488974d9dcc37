#pragma once

#include "containers/kp/KernelAddition.h"
#include "containers/lint/LooseKernel.h"
#include "containers/lint/Outcome.h"
#include "platform/base/Export.h"

#include <optional>
#include <string>

/// The description, the IP and the report of a kernel held against each other. Nothing is extracted, changed
/// or printed.
namespace kfab::lint {

/// Throws HEXFileNotFoundException for a description or report that is not there, HEXAll (with the error, the
/// path and the line) for one that cannot be read. What is wrong with the IP is a finding.
KP_EXPORT Outcome lintKernel(const LooseKernel& kernel);

/// A kernel before it is added to a package, with what is packed besides its IP, and with those that are in
/// the package already. Throws as lintKernel, and for a package that cannot be read as lintPackage.
KP_EXPORT Outcome lintAddition(const KernelAddition& addition);

/// All kernels of a package, or the one of a name without regard to case. Throws HEXFileNotFoundException
/// when there is no package, HEXAlgException and HEXAll when it, its manifest or a description in it cannot
/// be read, or when it lacks the kernel.
KP_EXPORT Outcome lintPackage(const std::string& package, const std::optional<std::string>& kernel = {});

}  // namespace kfab::lint
