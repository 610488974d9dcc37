#include "containers/page/Bars.h"

#include "containers/page/Drawing.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kfab::page {

void addShare(Markup& out, double share) {
    const double filled = 100 * std::clamp(share, 0.0, 1.0);
    const auto bar = out.open("svg", {{"class", "bar"},
                                      {"viewBox", "0 0 100 10"},
                                      {"preserveAspectRatio", "none"},
                                      {"aria-hidden", "true"}});
    rectangle(out, "track", {0, 0, 100, 10});
    if (filled > 0) rectangle(out, "filled", {0, 0, filled, 10});
}

void addTiming(Markup& out, const overview::Timing& timing) {
    constexpr double width = 440;
    constexpr double top = 22;
    constexpr double height = 16;
    const std::optional<bool> isMet = timing.isMet();
    if (!isMet) return;
    const std::array periods = {*timing.estimated, *timing.target, timing.available()};
    const auto isDrawable = [](double period) { return std::isfinite(period) && period > 0; };
    if (!std::all_of(periods.begin(), periods.end(), isDrawable)) return;
    const double longest = *std::max_element(periods.begin(), periods.end());
    const auto at = [&](double period) { return 1 + (width - 2) * (period / longest); };
    const auto picture =
        openPicture(out, width, 58, "Clock period: " + overview::timingStatement(timing).text);
    rectangle(out, "track", {1, top, at(*timing.target) - 1, height});
    rectangle(out, *isMet ? Literal("filled") : Literal("over"), {1, top, at(*timing.estimated) - 1, height});
    const double end = at(timing.available());
    line(out, "mark", {end, top - 5}, {end, top + height + 5});
    label(out, {end, 12}, end < width / 2 ? Anchor::Start : Anchor::End,
          "has " + overview::decimalText(timing.available()), "quiet");
    constexpr double foot = top + height + 17;
    const double target = at(*timing.target);
    const bool isFarOver = target < width / 2;
    label(out, {isFarOver ? width - 1 : 1, foot}, isFarOver ? Anchor::End : Anchor::Start,
          "needs " + overview::decimalText(*timing.estimated), "quiet");
    label(out, {target, foot}, isFarOver ? Anchor::Start : Anchor::End,
          "target " + overview::decimalText(*timing.target), "quiet");
}

}  // namespace kfab::page
