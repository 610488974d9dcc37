#pragma once

#include "platform/base/Export.h"
#include "platform/xml/ElementTree.h"

#include <optional>

namespace kfab::lint {

/// The clock periods of a module, in the unit of its report; none where it does not say.
struct KP_EXPORT Timing {
    std::optional<double> target, uncertainty, estimated;

    /// The target, which is told, less the uncertainty.
    double available() const;
    /// Whether the estimated period fits into that; none where one of them is not told.
    std::optional<bool> isMet() const;
};

/// Of the element of a module.
Timing timingOf(lmx60::Element module);

}  // namespace kfab::lint
