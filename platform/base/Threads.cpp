#include "platform/base/Threads.h"

#include <csignal>
#include <system_error>
#include <utility>

namespace {

/// While it lives, the thread and those that it starts get no signals.
class NoSignals {
public:
    NoSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~NoSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    NoSignals(const NoSignals&) = delete;
    NoSignals& operator=(const NoSignals&) = delete;

private:
    sigset_t before_;
};

}  // namespace

std::jthread startThread(std::function<void()> run) {
    const NoSignals none;
    try {
        return std::jthread(std::move(run));
    } catch (const std::system_error&) {
        return {};
    }
}
