#include "platform/base/HUTInterrupt.h"

#include "platform/base/Exceptions.h"

#include <atomic>

namespace {

std::atomic<bool> requested = false;
static_assert(std::atomic<bool>::is_always_lock_free);  // or a signal handler could not set it

}  // namespace

void HUTInterrupt::request() noexcept {
    requested = true;
}

void HUTInterrupt::clear() noexcept {
    requested = false;
}

bool HUTInterrupt::isRequested() noexcept {
    return requested;
}

void HUTInterrupt::check() {
    if (isRequested()) throw HEXInterrupted("The work was interrupted");
}
