#pragma once

#include "containers/ip/IpComponent.h"
#include "platform/base/Export.h"

#include <string>
#include <string_view>
#include <vector>

/// What follows from a component. Pointers lead into it.
namespace kfab::ip {

/// A part of a component; none, and why, where it cannot be told.
template <class Part>
struct Found {
    const Part* part = nullptr;
    std::string unknown;
};

/// None when there is none of the name.
KP_EXPORT const BusInterface* findBusInterface(const IpComponent& component, std::string_view name);
KP_EXPORT const Port* findPort(const IpComponent& component, std::string_view name);
/// The first map of a logical port, in any case of letters.
KP_EXPORT const PortMap* findPortMap(const BusInterface& bus, std::string_view logical);

/// In bits: of WDATA and RDATA, or of TDATA. Unknown for what is neither memory-mapped nor a stream.
KP_EXPORT Number dataWidth(const BusInterface& bus);
/// In bits: of the narrower one of AWADDR and ARADDR. Unknown for what is not memory-mapped.
KP_EXPORT Number addressWidth(const BusInterface& bus);

/// Where a slave's registers and memory lie: the one block of its memory map.
KP_EXPORT Found<AddressBlock> addressBlock(const IpComponent& component, const BusInterface& slave);
/// What a master reaches.
KP_EXPORT Found<AddressSpace> addressSpace(const IpComponent& component, const BusInterface& master);

/// The view that a device is made of: the first one for synthesis, else the first one with a module and file
/// sets.
KP_EXPORT Found<View> synthesisView(const IpComponent& component);

struct ViewFiles {
    std::vector<const File*> files;
    std::string incomplete;  ///< why there may be more files than these; empty where there are not
};
/// The files of all sets that a view uses, in order; each set counts once.
KP_EXPORT ViewFiles filesOf(const IpComponent& component, const View& view);

/// The names of the ports that are clocks: those that drivers, qualifiers or bus interfaces say to be, and
/// inputs of one bit that are called so.
KP_EXPORT std::vector<std::string> clockPorts(const IpComponent& component);

}  // namespace kfab::ip
