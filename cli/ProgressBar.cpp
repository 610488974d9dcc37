#include "cli/ProgressBar.h"

#include "cli/ProgressLine.h"
#include "cli/Terminal.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

namespace cli {
namespace {

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

constexpr std::chrono::milliseconds longestPause = 100ms;

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
    // The last column stays free: many terminals wrap the line there.
    const std::size_t width = terminalWidth(STDERR_FILENO) - 1;
    std::cerr << "\r" + progressLine(done, total_, Seconds(now - begun_).count(), width, hasColour_) +
                     "\x1b[K";
}

void ProgressBar::end() {
    erase();
}

}  // namespace cli
