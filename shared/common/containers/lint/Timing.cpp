#include "containers/lint/Timing.h"

#include <charconv>

namespace kfab::lint {
namespace {

std::optional<double> numberIn(lmx60::Element element) {
    if (!element) return {};
    const std::string_view text = element.text();
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return {};
    return value;
}

}  // namespace

double Timing::available() const {
    return *target - uncertainty.value_or(0);
}

std::optional<bool> Timing::isMet() const {
    constexpr double tolerance = 0.005;
    if (!target || !estimated) return {};
    return *estimated <= available() + tolerance;
}

Timing timingOf(lmx60::Element module) {
    const lmx60::Element timing = module.child("PerformanceEstimates").child("SummaryOfTimingAnalysis");
    return {.target = numberIn(timing.child("TargetClockPeriod")),
            .uncertainty = numberIn(timing.child("ClockUncertainty")),
            .estimated = numberIn(timing.child("EstimatedClockPeriod"))};
}

}  // namespace kfab::lint
