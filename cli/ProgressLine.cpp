#include "cli/ProgressLine.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace cli {
namespace {

template <class... Values>
std::string formatted(const char* format, Values... values) {
    char text[64];
    (void)std::snprintf(text, sizeof text, format, values...);
    return text;
}

/// Such as "0:07" or "1:02:03".
std::string clockText(double seconds) {
    constexpr double longest = 100 * 3600 - 1;
    const int whole = static_cast<int>(std::lround(std::min(seconds, longest)));
    return whole < 3600 ? formatted("%d:%02d", whole / 60, whole % 60)
                        : formatted("%d:%02d:%02d", whole / 3600, whole / 60 % 60, whole % 60);
}

std::string bar(double share, std::size_t width, bool hasColour) {
    const auto full = static_cast<std::size_t>(share * static_cast<double>(width));
    return "[" + std::string(hasColour ? "\x1b[32m" : "") + std::string(full, '#') +
           (hasColour ? "\x1b[0m" : "") + std::string(width - full, '-') + "]";
}

}  // namespace

std::string progressLine(std::uint64_t done, std::uint64_t total, double seconds, std::size_t width,
                         bool hasColour) {
    constexpr std::size_t widestBar = 40;
    constexpr std::size_t narrowestBar = 10;
    constexpr std::size_t brackets = 3;
    const double bytesPerSecond = static_cast<double>(done) / seconds;
    const double share = static_cast<double>(done) / static_cast<double>(total);
    const double secondsLeft = static_cast<double>(total - done) / bytesPerSecond;
    std::string percent = formatted("%3d%%", static_cast<int>(share * 100));
    const std::string speed =
        formatted("  %.1f MB/s  ", bytesPerSecond / 1e6) + clockText(secondsLeft) + " left";
    const std::size_t texts = percent.size() + speed.size() + brackets;
    if (width < texts + narrowestBar) return percent;
    return percent + " " + bar(share, std::min(width - texts, widestBar), hasColour) + speed;
}

}  // namespace cli
