#pragma once

#include "platform/base/Export.h"

#include <functional>
#include <mutex>
#include <string>
#include <string_view>

namespace disk {

/// While one of these lives, each call on the disk first asks `decide` with the name of the call (such as
/// "write") and the path; a result other than 0 is the error number that the call fails with. Threads ask one
/// after the other. For tests; one at a time in a process.
class KP_EXPORT DiskFaults {
public:
    using Decide = std::function<int(std::string_view call, const std::string& path)>;

    explicit DiskFaults(Decide decide);
    ~DiskFaults();
    DiskFaults(const DiskFaults&) = delete;
    DiskFaults& operator=(const DiskFaults&) = delete;

    /// None while no calls are to fail.
    static DiskFaults* current();
    int errorOf(std::string_view call, const std::string& path);

private:
    Decide decide_;
    std::recursive_mutex mutex_;  ///< deciding may take calls on the disk
};

}  // namespace disk
