#pragma once

namespace cli {

/// From here on SIGINT, SIGTERM and SIGHUP call off what the library works at, unless they were ignored, as
/// under nohup; the second of them ends the process at once. A closed pipe raises no signal.
void handleSignals();

/// The signal that called work off; 0 while none has.
int caughtSignal();

}  // namespace cli
