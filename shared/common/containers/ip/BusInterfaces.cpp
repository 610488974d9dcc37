#include "containers/ip/ComponentFacts.h"
#include "containers/ip/Parts.h"
#include "platform/xml/Quoted.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <map>
#include <optional>
#include <span>
#include <utility>

namespace kfab::ip {
namespace {

using lmx60::quoted;

constexpr std::pair<std::string_view, BusMode> modes[] = {
    {"master", BusMode::Master},
    {"initiator", BusMode::Master},
    {"slave", BusMode::Slave},
    {"target", BusMode::Slave},
    {"system", BusMode::System},
    {"mirroredMaster", BusMode::MirroredMaster},
    {"mirroredInitiator", BusMode::MirroredMaster},
    {"mirroredSlave", BusMode::MirroredSlave},
    {"mirroredTarget", BusMode::MirroredSlave},
    {"mirroredSystem", BusMode::MirroredSystem},
    {"monitor", BusMode::Monitor},
};

void takeMode(BusInterface& bus, lmx60::Element element, Values& /*values*/) {
    bool isKnown = false;
    for (const lmx60::Element child : element.children()) {
        const auto* mode = std::find_if(std::begin(modes), std::end(modes), [&](const auto& candidate) {
            return candidate.first == child.name();
        });
        if (mode == std::end(modes)) continue;
        if (isKnown) refuse(child, "bus interface " + quoted(bus.name) + " has more than one mode");
        bus.mode = mode->second;
        isKnown = true;
    }
    if (!isKnown) refuse(element, "bus interface " + quoted(bus.name) + " has no mode");
}

/// A reference by an attribute of the element's own name.
template <auto member>
constexpr Row<BusInterface> reference(std::string_view path) {
    return {path, Needed::No, [](BusInterface& bus, lmx60::Element found, Values&) {
                bus.*member = found.attribute(found.name()).value_or("");
            }};
}

constexpr Row<BusInterface> busInterfaceRows[] = {
    name<&BusInterface::name>("name"),
    {"", Needed::No, takeMode},
    {"busType", Needed::Yes,
     [](BusInterface& bus, lmx60::Element type, Values&) { bus.busType = readReference(type); }},
    reference<&BusInterface::memoryMap>("slave/memoryMapRef"),
    reference<&BusInterface::memoryMap>("target/memoryMapRef"),
    reference<&BusInterface::addressSpace>("master/addressSpaceRef"),
    reference<&BusInterface::addressSpace>("initiator/addressSpaceRef"),
    records<&BusInterface::parameters, parameterRows>("parameters/parameter"),
};

constexpr Row<PortMap> portMapRows[] = {
    name<&PortMap::logical>("logicalPort/name"),
    text<&PortMap::physical>("physicalPort/name"),
};

using PortsByName = std::map<std::string_view, const Port*>;

/// The extent of the first range at one of the paths, or none.
std::optional<Number> firstExtent(lmx60::Element element, std::initializer_list<std::string_view> paths,
                                  Values& values) {
    std::optional<Number> extent;
    for (const std::string_view path : paths)
        forEach(element, path, [&](lmx60::Element range) {
            if (!extent) extent = extentOf(range, values);
        });
    return extent;
}

Number unknown(const std::string& reason) {
    return {.value = {}, .unknown = reason, .line = {}};
}

/// What of a port is mapped: what is selected of it, else all of it.
Number physicalWidth(const PortMap& map, lmx60::Element element, const PortsByName& ports, Values& values) {
    if (const auto selected =
            firstExtent(element, {"physicalPort/vector", "physicalPort/partSelect/range"}, values))
        return *selected;
    if (element.child("physicalPort").child("partSelect"))
        return unknown("a part of " + quoted(map.physical) + " is selected by indices");
    const auto port = ports.find(map.physical);
    return port == ports.end() ? unknown("there is no port " + quoted(map.physical)) : port->second->width;
}

Number mappedWidth(const PortMap& map, lmx60::Element element, const PortsByName& ports, Values& values) {
    Number physical = physicalWidth(map, element, ports, values);
    const auto logical = firstExtent(element, {"logicalPort/vector", "logicalPort/range"}, values);
    if (!logical || !logical->value || !physical.value || logical->value == physical.value) return physical;
    return unknown(std::to_string(*logical->value) + " bits of " + quoted(map.logical) + " are mapped to " +
                   std::to_string(*physical.value) + " bits");
}

PortMap readPortMap(lmx60::Element element, const PortsByName& ports, Values& values) {
    auto map = readNew<PortMap>(element, portMapRows, values);
    if (!map.physical.empty()) {
        map.width = mappedWidth(map, element, ports, values);
    } else if (!element.child("logicalTieOff")) {
        refuseLacking(element, "physicalPort/name");
    }
    map.width.line = map.line;
    return map;
}

constexpr std::string_view addressSignals[] = {"AWADDR", "ARADDR"};
constexpr std::string_view burstSignals[] = {"AWLEN", "ARLEN"};
constexpr std::string_view validSignals[] = {"TVALID", "VALID"};
constexpr std::string_view streamDataSignals[] = {"TDATA", "DATA"};
constexpr std::string_view resetSignals[] = {"RST",    "RESET",   "RSTN",    "RST_N",
                                             "RESETN", "RESET_N", "ARESETN", "ARESET_N"};

BusKind kindOf(const BusInterface& bus) {
    const auto maps = [&](std::span<const std::string_view> signals) {
        return std::any_of(signals.begin(), signals.end(),
                           [&](std::string_view signal) { return findPortMap(bus, signal) != nullptr; });
    };
    if (maps(addressSignals)) return maps(burstSignals) ? BusKind::MemoryMapped : BusKind::MemoryMappedLite;
    if (maps(validSignals) && maps(streamDataSignals)) return BusKind::Stream;
    if (maps(clockSignals)) return BusKind::Clock;
    return maps(resetSignals) ? BusKind::Reset : BusKind::Other;
}

/// Where a bus interface has several abstractions, the first one with ports counts.
lmx60::Element portMapsOf(lmx60::Element bus) {
    if (const lmx60::Element maps = bus.child("portMaps")) return maps;
    for (const lmx60::Element abstraction : bus.child("abstractionTypes").children())
        if (const lmx60::Element maps = abstraction.child("portMaps")) return maps;
    return {};
}

BusInterface readBusInterface(lmx60::Element element, const PortsByName& ports, Values& values) {
    auto bus = readNew<BusInterface>(element, busInterfaceRows, values);
    for (const lmx60::Element map : portMapsOf(element).children())
        if (map.name() == "portMap" && values.isPresent(map))
            bus.portMaps.push_back(readPortMap(map, ports, values));
    bus.kind = kindOf(bus);
    return bus;
}

Direction directionOf(lmx60::Element element) {
    constexpr std::pair<std::string_view, Direction> directions[] = {{"in", Direction::In},
                                                                     {"out", Direction::Out},
                                                                     {"inout", Direction::InOut},
                                                                     {"phantom", Direction::Phantom}};
    for (const auto& [word, direction] : directions)
        if (element.text() == word) return direction;
    refuse(element, quoted(element.text()) + " is no direction of a port");
}

void takeWire(Port& port, lmx60::Element wire, Values& values) {
    const lmx60::Element direction = wire.child("direction");
    if (!direction) refuseLacking(wire, "direction");
    port.direction = directionOf(direction);
    port.width = known(1);
    for (const char* path : {"vector", "vectors/vector"})
        forEach(wire, path,
                [&](lmx60::Element range) { port.width = product(port.width, extentOf(range, values)); });
}

void takeArray(Port& port, lmx60::Element range, Values& values) {
    port.width = product(port.width, extentOf(range, values));
}

void takeClockDriver(Port& port, lmx60::Element /*driver*/, Values& /*values*/) {
    port.isClock = true;
}

/// What an array multiplies stands before it.
constexpr Row<Port> portRows[] = {
    name<&Port::name>("name"),
    {"wire", Needed::No, takeWire},
    {"arrays/array", Needed::No, takeArray},
    {"wire/driver/clockDriver", Needed::No, takeClockDriver},
    {"wire/drivers/driver/clockDriver", Needed::No, takeClockDriver},
    {"wire/qualifier/isClock", Needed::No,
     [](Port& port, lmx60::Element flag, Values&) { port.isClock = port.isClock || flag.text() == "true"; }},
};

}  // namespace

Number extentOf(lmx60::Element range, Values& values) {
    Number ends[2];
    for (const auto& [end, name] : {std::pair(&ends[0], "left"), std::pair(&ends[1], "right")})
        if (const lmx60::Element element = range.child(name)) *end = values.numberOf(element);
    Number bothKnown = sum(ends[0], ends[1]);
    if (!ends[0].value || !ends[1].value) return bothKnown;
    const auto [low, high] = std::minmax(*ends[0].value, *ends[1].value);
    return sum(known(high - low), known(1));
}

Port readPort(lmx60::Element element, Values& values) {
    auto port = readNew<Port>(element, portRows, values);
    if (port.direction == Direction::None) port.width.unknown = "it has no wires";
    port.width.line = port.line;
    if (!element.child("wire") && !element.child("transactional") && !element.child("structured"))
        refuseLacking(element, "wire");
    return port;
}

void takeBusInterfaces(IpComponent& component, lmx60::Element busInterfaces, Values& values) {
    PortsByName ports;
    for (const Port& port : component.ports)
        ports.emplace(port.name, &port);
    for (const lmx60::Element element : busInterfaces.children())
        if (element.name() == "busInterface" && values.isPresent(element))
            component.busInterfaces.push_back(readBusInterface(element, ports, values));
}

}  // namespace kfab::ip
