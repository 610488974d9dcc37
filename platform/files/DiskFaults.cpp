#include "platform/files/DiskFaults.h"

#include <utility>

namespace disk {
namespace {

const DiskFaults::Decide* faults = nullptr;

}  // namespace

DiskFaults::DiskFaults(Decide decide) : decide_(std::move(decide)) {
    faults = &decide_;
}

DiskFaults::~DiskFaults() {
    faults = nullptr;
}

const DiskFaults::Decide* DiskFaults::current() {
    return faults;
}

}  // namespace disk
