#pragma once

#include "containers/lint/Outcome.h"
#include "platform/base/Export.h"

#include <optional>
#include <string>

/// The description, the IP and the report of a kernel held against each other. Nothing is extracted, changed
/// or printed.
namespace kfab::lint {

/// A kernel that is not in a package. Empty texts stand for what is not given.
struct LooseKernel {
    std::string kernelXml;    ///< the path of the description
    std::string ipDir;        ///< the directory of its IP
    std::string report;       ///< a report; the description's own profile unless given
    bool isComplete = false;  ///< whether there is no IP when none is given; otherwise that is unchecked
};

/// Throws HEXFileNotFoundException for a description or report that is not there, HEXAll (with the error, the
/// path and the line) for one that cannot be read. What is wrong with the IP is a finding.
KP_EXPORT Outcome lintKernel(const LooseKernel& kernel);

/// All kernels of a package, or the one of a name without regard to case. Throws HEXFileNotFoundException
/// when there is no package, HEXAlgException and HEXAll when it, its manifest or a description in it cannot
/// be read, or when it lacks the kernel.
KP_EXPORT Outcome lintPackage(const std::string& package, const std::optional<std::string>& kernel = {});

}  // namespace kfab::lint
