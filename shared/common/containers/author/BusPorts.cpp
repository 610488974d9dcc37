#include "containers/author/BusPorts.h"

#include "containers/author/KernelRefused.h"
#include "containers/author/Prototype.h"
#include "containers/ip/ComponentFacts.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace kfab::author {
namespace {

constexpr std::uint64_t all = std::numeric_limits<std::uint64_t>::max();

bool isPort(const ip::BusInterface& bus) {
    const bool isEnd = bus.mode == ip::BusMode::Master || bus.mode == ip::BusMode::Slave;
    return isEnd && (bus.kind == ip::BusKind::MemoryMapped || bus.kind == ip::BusKind::MemoryMappedLite ||
                     bus.kind == ip::BusKind::Stream);
}

/// A number that the component must tell.
std::uint64_t valueOf(const ip::Number& number, const std::string& what) {
    if (number.value) return *number.value;
    throw KernelRefused("The component does not tell " + what + " (" + HUTPathUtils::shown(number.unknown) +
                        "); give it there");
}

std::uint32_t dataWidthOf(const ip::BusInterface& bus) {
    const std::uint64_t width =
        valueOf(ip::dataWidth(bus), "the data width of " + HUTPathUtils::quoted(bus.name));
    const bool isStream = bus.kind == ip::BusKind::Stream;
    const bool isUsual = isStream ? width > 0 && width % 8 == 0 && width <= all >> 32
                                  : width >= 8 && width <= 4096 && std::has_single_bit(width);
    if (!isUsual)
        throw KernelRefused("The bus interface " + HUTPathUtils::quoted(bus.name) + " has " +
                            std::to_string(width) + " bits of data, which is no " +
                            (isStream ? "multiple of 8" : "power of two from 8 to 4096"));
    return static_cast<std::uint32_t>(width);
}

/// The last address that so many bits reach.
std::uint64_t lastAddress(std::uint64_t bits) {
    return bits >= 64 ? all : (std::uint64_t{1} << bits) - 1;
}

/// What the addresses of a slave reach, and of that no more than its address block.
std::uint64_t rangeOfSlave(const ip::IpComponent& component, const ip::BusInterface& bus) {
    const auto block = ip::addressBlock(component, bus).part;
    const ip::Number width = ip::addressWidth(bus);
    std::uint64_t range = all;
    if (width.value || block == nullptr) {
        const std::uint64_t last =
            lastAddress(valueOf(width, "the address width of " + HUTPathUtils::quoted(bus.name)));
        range = last == all ? all : last + 1;
    }
    if (block == nullptr) return range;
    const std::string named = "of the address block " + HUTPathUtils::quoted(block->name);
    const std::uint64_t base = valueOf(block->base, "the base " + named);
    const std::uint64_t size = valueOf(block->range, "the range " + named);
    return std::min(range, size > all - base ? all : base + size);
}

BusPort describe(const ip::IpComponent& component, const ip::BusInterface& bus) {
    if (!isIdentifier(bus.name))
        throw KernelRefused("The name of the bus interface " + HUTPathUtils::quoted(bus.name) +
                            " is no C identifier, so no port can have it");
    BusPort port{.bus = &bus, .isMaster = bus.mode == ip::BusMode::Master};
    port.isStream = bus.kind == ip::BusKind::Stream;
    port.dataWidth = dataWidthOf(bus);
    if (port.isMappedMaster())
        port.range = lastAddress(
            valueOf(ip::addressWidth(bus), "the address width of " + HUTPathUtils::quoted(bus.name)));
    if (port.isMappedSlave()) port.range = rangeOfSlave(component, bus);
    return port;
}

}  // namespace

std::vector<BusPort> busPortsOf(const ip::IpComponent& component) {
    std::vector<BusPort> ports;
    for (const ip::BusInterface& bus : component.busInterfaces) {
        if (!isPort(bus)) continue;
        if (findPort(ports, bus.name) != nullptr)
            throw KernelRefused("The component has two bus interfaces " + HUTPathUtils::quoted(bus.name));
        ports.push_back(describe(component, bus));
    }
    return ports;
}

const BusPort* findPort(const std::vector<BusPort>& ports, std::string_view name) {
    const auto found =
        std::find_if(ports.begin(), ports.end(), [&](const BusPort& port) { return port.bus->name == name; });
    return found == ports.end() ? nullptr : &*found;
}

}  // namespace kfab::author
