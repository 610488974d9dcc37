#pragma once

#include "containers/customizer/KernelCustomization.h"

#include <map>
#include <string>
#include <vector>

namespace cli {

/// By name.
using GivenParams = std::map<std::string, kfab::kernel::KernelCustomization::Param>;

/// Those of the file, lines NAME = VALUE, unless its path is empty, and those of the options, which win.
GivenParams collectParams(const std::string& file, const std::vector<std::string>& options);

}  // namespace cli
