#pragma once

#include "containers/overview/Records.h"

#include <functional>

#include <CLI/App.hpp>

namespace cli {

/// Declares a positional PACKAGE, which may be a kernel.xml as well, and KERNEL, one of a package. Gives what
/// gathers all that there is to show of them, after parsing and once.
std::function<kfab::overview::Overview()> takesSubject(CLI::App& app);

}  // namespace cli
