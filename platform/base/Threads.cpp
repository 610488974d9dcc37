#include "platform/base/Threads.h"

#include <algorithm>
#include <csignal>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <unistd.h>

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

/// While threads share it, the system's table of descriptors grows only after a wait for all processors, of
/// ten milliseconds and more. It grows here to what many open files need, at once where this is the first
/// thread that is started.
void growDescriptorTable() {
    constexpr rlim_t enough = 2048;
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    const int any = eventfd(0, EFD_CLOEXEC);
    const int last = fcntl(any, F_DUPFD_CLOEXEC, static_cast<int>(std::min(files.rlim_cur, enough)) - 1);
    for (const int descriptor : {any, last})
        if (descriptor >= 0) close(descriptor);
}

/// A virtual machine's idle processor may count as taken, so that a new thread waits behind the one that
/// started it, until the system balances its load milliseconds later. It is moved to another processor at
/// once, and may go where it likes from then on.
void moveAway(pthread_t thread) {
    cpu_set_t all;
    if (sched_getaffinity(0, sizeof all, &all) != 0) return;
    cpu_set_t others = all;
    CPU_CLR(static_cast<std::size_t>(sched_getcpu()), &others);
    if (CPU_COUNT(&others) == 0) return;
    pthread_setaffinity_np(thread, sizeof others, &others);
    pthread_setaffinity_np(thread, sizeof all, &all);
}

}  // namespace

std::jthread startThread(std::function<void()> run) {
    growDescriptorTable();
    const NoSignals none;
    try {
        std::jthread thread(std::move(run));
        moveAway(thread.native_handle());
        return thread;
    } catch (const std::system_error&) {
        return {};
    }
}
