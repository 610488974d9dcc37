#include "platform/base/HUTProgress.h"

#include "platform/base/HUTInterrupt.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::uint64_t smallestStep = std::uint64_t{64} << 10;

/// The work that the thread is at.
struct Work {
    HUTProgress::Listener* listener = nullptr;  ///< none while there is no work, or nobody hears of it
    std::uint64_t total = 0;
    std::uint64_t done = 0;
    std::uint64_t told = 0;
};

thread_local HUTProgress::Listener* currentListener = nullptr;
thread_local Work work;
thread_local std::atomic<std::uint64_t>* collected = nullptr;

}  // namespace

HUTProgress::Listener::~Listener() = default;

HUTProgress::Listener* HUTProgress::setListener(Listener* listener) {
    return std::exchange(currentListener, listener);
}

HUTProgress::HUTProgress(const std::function<std::uint64_t()>& total)
    : isTold_(currentListener != nullptr && work.listener == nullptr) {
    if (!isTold_) return;
    const std::uint64_t amount = total();
    work = {currentListener, amount, 0, 0};
    work.listener->begin(amount);
}

HUTProgress::~HUTProgress() {
    if (isTold_) std::exchange(work.listener, nullptr)->end();
}

void HUTProgress::advance(std::uint64_t amount) {
    HUTInterrupt::check();
    if (collected != nullptr) *collected += amount;
    if (work.listener == nullptr) return;
    work.done += std::min(amount, work.total - work.done);
    const std::uint64_t step = work.done - work.told;
    if (step == 0 || (step < smallestStep && work.done < work.total)) return;
    work.told = work.done;
    work.listener->advance(work.done);
}

void HUTProgress::collectInto(std::atomic<std::uint64_t>& sum) {
    collected = &sum;
}

void HUTProgress::remains(std::uint64_t amount) const {
    if (!isTold_) return;
    const std::uint64_t left = work.total - work.done;
    advance(left - std::min(left, amount));
}
