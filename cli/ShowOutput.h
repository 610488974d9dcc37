#pragma once

#include "cli/TextTable.h"
#include "containers/overview/Wording.h"

#include <optional>

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

Colour colourOf(kfab::overview::Tone tone);
TableCell cellOf(const kfab::overview::Statement& statement);

}  // namespace cli
