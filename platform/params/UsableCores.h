#pragma once

#include "platform/base/Export.h"

#include <cstddef>
#include <string>

/// How many processor cores this process may keep busy: those of its affinity, unless the control groups that
/// it is in grant less time (of one and a half cores, two). At least 1; a limit that cannot be read is none.
/// @param root where "/proc" and "/sys" are
KP_EXPORT std::size_t usableCores(const std::string& root = "");
