#pragma once

#include "containers/overview/Wording.h"
#include "containers/page/Markup.h"

namespace kfab::page {

/// A bar beside a number that says the same.
void addShare(Markup& out, double share);

/// What the clock period needs, below a mark where the room for it ends and within its target. Nothing when
/// that is not told, or cannot be drawn.
void addTiming(Markup& out, const overview::Timing& timing);

}  // namespace kfab::page
