#pragma once

#include "containers/author/BusPorts.h"
#include "containers/author/KernelRequest.h"
#include "containers/author/Prototype.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kfab::author {

/// An argument on the way to its description. What it points to outlives it.
struct Argument {
    const Parameter* parameter = nullptr;
    const BusPort* port = nullptr;        ///< none for a value until the control port is known
    std::uint64_t size = 0;               ///< in bytes
    std::optional<std::uint64_t> offset;  ///< in bytes, on the control port; streams have none

    const std::string& name() const { return parameter->name; }
    bool isStream() const { return port != nullptr && port->isStream; }
};

/// "'a', 'b'": the ports that fulfil a condition.
template <class Wanted>
std::string namesOf(const std::vector<BusPort>& ports, const Wanted& isWanted) {
    std::string names;
    for (const BusPort& port : ports)
        if (isWanted(port)) names += (names.empty() ? "'" : ", '") + port.bus->name + "'";
    return names;
}

/// The only port that fulfils a condition, or none.
template <class Wanted>
const BusPort* onlyPort(const std::vector<BusPort>& ports, const Wanted& isWanted) {
    const BusPort* only = nullptr;
    for (const BusPort& port : ports) {
        if (!isWanted(port)) continue;
        if (only != nullptr) return nullptr;
        only = &port;
    }
    return only;
}

/// Gives each argument that is no stream's its offset, and values their port. Tells which offsets it assumed.
/// Throws KernelRefused.
std::vector<AssumedOffset> placeArguments(const ip::IpComponent& component, const KernelRequest& request,
                                          const std::vector<BusPort>& ports,
                                          std::vector<Argument>& arguments);

/// The description of a kernel.
KernelXML::Root documentOf(const std::string& name, const std::string& vlnv, const KernelRequest& request,
                           const std::vector<BusPort>& ports, const std::vector<Argument>& arguments);

}  // namespace kfab::author
