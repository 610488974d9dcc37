#include "platform/files/DiskFaults.h"

#include <utility>

namespace disk {
namespace {

DiskFaults* faults = nullptr;

}  // namespace

DiskFaults::DiskFaults(Decide decide) : decide_(std::move(decide)) {
    faults = this;
}

DiskFaults::~DiskFaults() {
    faults = nullptr;
}

DiskFaults* DiskFaults::current() {
    return faults;
}

int DiskFaults::errorOf(std::string_view call, const std::string& path) {
    const std::lock_guard lock(mutex_);
    return decide_(call, path);
}

}  // namespace disk
