#pragma once

#include "containers/overview/Records.h"
#include "containers/page/Markup.h"

namespace kfab::page {

/// The kernel as a block with its ports: slaves at its left, masters at its right, and what goes through
/// each.
void addDiagram(Markup& out, const overview::Kernel& kernel);

}  // namespace kfab::page
