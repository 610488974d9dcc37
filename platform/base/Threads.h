#pragma once

#include "platform/base/Export.h"

#include <functional>
#include <thread>

/// A thread that gets no signals: whoever waits for one is to get it. Not joinable where the system has no
/// thread left.
KP_EXPORT std::jthread startThread(std::function<void()> run);
