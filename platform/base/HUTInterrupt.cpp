#include "platform/base/HUTInterrupt.h"

#include "platform/base/Exceptions.h"

#include <atomic>
#include <utility>

namespace {

std::atomic<bool> requested = false;
static_assert(std::atomic<bool>::is_always_lock_free);  // or a signal handler could not set it

thread_local HUTInterrupt::Question ownQuestion;

}  // namespace

void HUTInterrupt::request() noexcept {
    requested = true;
}

void HUTInterrupt::clear() noexcept {
    requested = false;
}

bool HUTInterrupt::isRequested() {
    return requested || (ownQuestion && ownQuestion());
}

HUTInterrupt::Question HUTInterrupt::setQuestion(Question question) {
    return std::exchange(ownQuestion, std::move(question));
}

void HUTInterrupt::check() {
    if (isRequested()) throw HEXInterrupted("The work was interrupted");
}
