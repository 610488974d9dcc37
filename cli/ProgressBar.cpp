#include "cli/ProgressBar.h"

#include "cli/Terminal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

namespace cli {
namespace {

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

constexpr std::chrono::milliseconds longestPause = 100ms;

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

/// " 42% [#####-------]  123.4 MB/s  0:07 left", with as much of it as the width has room for.
std::string lineOf(double share, double bytesPerSecond, double secondsLeft, std::size_t width,
                   bool hasColour) {
    constexpr std::size_t widestBar = 40;
    constexpr std::size_t narrowestBar = 10;
    constexpr std::size_t brackets = 3;
    std::string percent = formatted("%3d%%", static_cast<int>(share * 100));
    const std::string speed =
        formatted("  %.1f MB/s  ", bytesPerSecond / 1e6) + clockText(secondsLeft) + " left";
    const std::size_t texts = percent.size() + speed.size() + brackets;
    if (width < texts + narrowestBar) return percent;
    return percent + " " + bar(share, std::min(width - texts, widestBar), hasColour) + speed;
}

/// How long work goes on without a bar.
std::chrono::milliseconds patienceWanted() {
    const char* milliseconds = std::getenv("KP_PROGRESS_DELAY");
    return milliseconds == nullptr ? 1s : std::chrono::milliseconds(std::strtol(milliseconds, nullptr, 10));
}

}  // namespace

std::unique_ptr<ProgressBar> ProgressBar::onTerminal() {
    return isOnTerminal() ? std::make_unique<ProgressBar>() : nullptr;
}

ProgressBar::ProgressBar()
    : before_(HUTProgress::setListener(this)), patience_(patienceWanted()), hasColour_(hasColour()) {}

ProgressBar::~ProgressBar() {
    HUTProgress::setListener(before_);
}

void ProgressBar::erase() {
    std::cerr.clear();  // a signal may have cut the last line short
    if (isShown_) std::cerr << "\r\x1b[K";
    isShown_ = false;
}

void ProgressBar::begin(std::uint64_t total) {
    total_ = total;
    begun_ = Clock::now();
    drawn_ = begun_;
}

void ProgressBar::advance(std::uint64_t done) {
    const auto now = Clock::now();
    if (now - made_ < patience_ || now - drawn_ < std::min(patience_, longestPause) || done == total_) return;
    drawn_ = now;
    isShown_ = true;
    const double rate = static_cast<double>(done) / Seconds(now - begun_).count();
    const double share = static_cast<double>(done) / static_cast<double>(total_);
    const double secondsLeft = static_cast<double>(total_ - done) / rate;
    // The last column stays free: many terminals wrap the line there.
    const std::size_t width = terminalWidth(STDERR_FILENO) - 1;
    std::cerr << "\r" + lineOf(share, rate, secondsLeft, width, hasColour_) + "\x1b[K";
}

void ProgressBar::end() {
    erase();
}

}  // namespace cli
