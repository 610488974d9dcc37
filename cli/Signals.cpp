#include "cli/Signals.h"

#include "platform/base/HUTInterrupt.h"

#include <csignal>

namespace cli {
namespace {

constexpr int endingSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t caught = 0;

/// Handles the signals from now on, but for those that are ignored.
void setHandlers(void (*handler)(int)) {
    for (const int number : endingSignals) {
        struct sigaction action {};
        ::sigaction(number, nullptr, &action);
        if (action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = handler;  // without SA_RESTART, so that waiting ends
        ::sigaction(number, &action, nullptr);
    }
}

void callOff(int number) {
    caught = number;
    HUTInterrupt::request();
    setHandlers(SIG_DFL);
}

}  // namespace

void handleSignals() {
    setHandlers(callOff);
    (void)std::signal(SIGPIPE, SIG_IGN);
}

int caughtSignal() {
    return caught;
}

}  // namespace cli
