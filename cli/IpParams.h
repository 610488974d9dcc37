#pragma once

#include "containers/kp/HKPKernel.h"

#include <map>
#include <string>
#include <vector>

class ArchiveSnapshot;

namespace cli {

/// A parameter's value, and where it was given, for messages.
struct GivenParam {
    std::string value;
    std::string place;
};

/// By name.
using GivenParams = std::map<std::string, GivenParam>;

/// Those of the file, lines NAME = VALUE, unless its path is empty, and those of the options, which win.
GivenParams collectParams(const std::string& file, const std::vector<std::string>& options);

/// Throws when the kernel's IP in the package has no parameter of a name or does not take its value. An IP
/// that is not described as an IEEE 1685 component is not asked.
void requireParams(const GivenParams& params, const ArchiveSnapshot& package, const HKPKernel& kernel);

}  // namespace cli
