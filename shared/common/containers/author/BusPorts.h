#pragma once

#include "containers/ip/IpComponent.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace kfab::author {

/// A bus interface of an IP as a port of its kernel.
struct BusPort {
    const ip::BusInterface* bus = nullptr;
    bool isMaster = false, isStream = false;
    std::uint32_t dataWidth = 0;  ///< in bits
    std::uint64_t range = 0;      ///< in bytes; 0 for a stream

    bool isMappedMaster() const { return isMaster && !isStream; }
    bool isMappedSlave() const { return !isMaster && !isStream; }
};

/// All memory-mapped interfaces and streams, in the order of the component. Throws KernelRefused for what
/// a description must say of one and the component does not tell.
std::vector<BusPort> busPortsOf(const ip::IpComponent& component);

/// None when there is none of the name.
const BusPort* findPort(const std::vector<BusPort>& ports, std::string_view name);

}  // namespace kfab::author
