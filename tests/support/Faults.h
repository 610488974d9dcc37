#pragma once

#include "platform/base/HUTInterrupt.h"
#include "platform/files/Disk.h"

#include <cerrno>
#include <functional>
#include <utility>

/// Interrupts every other call on the disk.
inline disk::DiskFaults::Decide interruptions() {
    return [n = 0](std::string_view, const std::string&) mutable { return ++n % 2 == 1 ? EINTR : 0; };
}

/// Calls the work off, and lets the call be.
inline int callOff(std::string_view) {
    HUTInterrupt::request();
    return 0;
}

/// Lets every call of this name fail, or only those for one path.
inline disk::DiskFaults::Decide always(std::string_view failing, int error, const std::string& where = "") {
    return [=](std::string_view call, const std::string& path) {
        return call == failing && (where.empty() || path == where) ? error : 0;
    };
}

/// Tries with a disaster at the first call on the disk, then at the second, up to the last one that is made.
inline void atEachCall(const std::function<int(std::string_view)>& disaster,
                       const std::function<void(const disk::DiskFaults::Decide&)>& attempt) {
    for (int n = 1, calls = 0; calls + 1 >= n; ++n) {
        calls = 0;
        attempt([&](std::string_view call, const std::string&) { return ++calls == n ? disaster(call) : 0; });
    }
}

/// Acts when a call of this name is made first, which fails with the result if that is not 0.
inline disk::DiskFaults::Decide once(std::string_view awaited, std::function<int()> act) {
    return [=, isDone = false](std::string_view call, const std::string&) mutable {
        return call == awaited && !std::exchange(isDone, true) ? act() : 0;
    };
}
