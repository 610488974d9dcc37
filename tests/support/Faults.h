#pragma once

#include "platform/files/Disk.h"

#include <cerrno>
#include <functional>
#include <utility>

/// Interrupts every other call on the disk.
inline disk::DiskFaults::Decide interruptions() {
    return [n = 0](std::string_view, const std::string&) mutable { return ++n % 2 == 1 ? EINTR : 0; };
}

/// Lets every call of this name fail.
inline disk::DiskFaults::Decide always(std::string_view failing, int error) {
    return [=](std::string_view call, const std::string&) { return call == failing ? error : 0; };
}

/// Acts when a call of this name is made first, which fails with the result if that is not 0.
inline disk::DiskFaults::Decide once(std::string_view awaited, std::function<int()> act) {
    return [=, isDone = false](std::string_view call, const std::string&) mutable {
        return call == awaited && !std::exchange(isDone, true) ? act() : 0;
    };
}
