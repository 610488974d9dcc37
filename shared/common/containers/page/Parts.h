#pragma once

#include "containers/overview/Wording.h"
#include "containers/page/Markup.h"

#include <string>

// Parts of a page.

namespace kfab::page {

/// All that there is to show of a kernel; `id` is what links lead to.
void addKernel(Markup& out, const overview::Kernel& kernel, const std::string& id);

/// Timing, latency, resources, instances and FIFOs, each below a heading of its own.
void addReport(Markup& out, const overview::Kernel& kernel);

/// The instances as a tree that folds, with what the module of each takes.
void addInstances(Markup& out, const overview::Report& report);

/// What lint found, each with its cure, and what it could not decide.
void addFindings(Markup& out, const lint::Outcome& outcome);

}  // namespace kfab::page
