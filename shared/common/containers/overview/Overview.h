#pragma once

#include "containers/overview/Records.h"
#include "platform/base/Export.h"

#include <optional>
#include <string>

/// What there is to show of packages and kernels, gathered. Nothing is extracted, changed or printed.
namespace kfab::overview {

/// How far to look into a package.
enum class Depth {
    Package,       ///< itself, not its kernels
    Descriptions,  ///< its kernels as they are described, without findings
    Findings,      ///< what lint finds in them as well, which takes most of the time
};

/// All kernels of a package, or the one of a name without regard to case. A description that cannot be read
/// is its kernel's problem. Throws HEXFileNotFoundException when there is no package, HEXAlgException and
/// HEXAll when it or its manifest cannot be read, when it lacks the kernel, or when all of them are more than
/// can be held at once.
KP_EXPORT Overview ofPackage(const std::string& package, const std::optional<std::string>& kernel = {},
                             Depth depth = Depth::Findings);

/// The kernel of a description that is not in a package. Throws HEXFileNotFoundException when it is not
/// there, HEXAll (with the error, the path and the line) when it cannot be read.
KP_EXPORT Overview ofDescription(const std::string& kernelXml);
/// As ofDescription, of a document that is read already; its name stands for it in errors.
KP_EXPORT Overview ofDocument(const std::string& name, std::string document);

}  // namespace kfab::overview
