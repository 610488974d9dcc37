#pragma once

#include "platform/base/HUTProgress.h"

#include <chrono>
#include <cstdint>
#include <memory>

namespace cli {

/// While it lives, shows on standard error how far the thread's work is, once that has taken a while.
class ProgressBar : public HUTProgress::Listener {
public:
    /// A bar if standard error is a terminal that can show one, else none.
    static std::unique_ptr<ProgressBar> onTerminal();

    ProgressBar();
    ~ProgressBar() override;
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Clears its line, for something else to be written there; the bar comes back with the next step.
    void erase();

    void begin(std::uint64_t total) override;
    void advance(std::uint64_t done) override;
    void end() override;

private:
    using Clock = std::chrono::steady_clock;

    HUTProgress::Listener* before_;
    std::chrono::milliseconds patience_;
    bool hasColour_;
    bool isShown_ = false;
    Clock::time_point made_ = Clock::now();
    std::uint64_t total_ = 0;
    Clock::time_point begun_;
    Clock::time_point drawn_;
};

}  // namespace cli
