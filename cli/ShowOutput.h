#pragma once

#include "cli/TextTable.h"
#include "containers/overview/Records.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

// Forms of what is shown of packages and kernels.

namespace cli {

class TextPage;

/// For eyes, as wide as the terminal. Several kernels become a table, one is shown with all that there is.
void printOverviewText(const kfab::overview::Overview& overview);

/// docs/show.schema.json describes it.
void printOverviewJson(const kfab::overview::Overview& overview);

// Parts of the text.

void showKernel(TextPage& page, const kfab::overview::Kernel& kernel);
/// Timing, latency, resources, instances and FIFOs.
void showReport(TextPage& page, const std::optional<kfab::overview::Report>& report);

/// In UTC, in a format of strftime.
std::string timeText(std::time_t time, const char* format);

/// What at least one of the modules takes; there may be none in a place.
std::vector<kfab::overview::ResourceKind> takenResources(
    const std::vector<const kfab::overview::Module*>& modules);

/// Such as "met 2.92/3.5".
TableCell timingCell(const kfab::overview::Timing& timing);
TableCell countCell(const std::optional<std::uint64_t>& count);
/// How much of the worst kind there is, such as "1 error", or "clean".
TableCell findingsCell(const kfab::lint::Outcome& findings);

}  // namespace cli
