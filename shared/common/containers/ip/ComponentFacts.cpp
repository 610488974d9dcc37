#include "containers/ip/ComponentFacts.h"

#include "containers/ip/Parts.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/xml/Quoted.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

namespace kfab::ip {
namespace {

using lmx60::quoted;

template <class Part>
const Part* findByName(const std::vector<Part>& parts, std::string_view name) {
    const auto found =
        std::find_if(parts.begin(), parts.end(), [&](const Part& part) { return part.name == name; });
    return found == parts.end() ? nullptr : &*found;
}

Number unknown(const std::string& reason, Line line) {
    return {.value = {}, .unknown = reason, .line = line};
}

bool isMemoryMapped(const BusInterface& bus) {
    return bus.kind == BusKind::MemoryMapped || bus.kind == BusKind::MemoryMappedLite;
}

/// The width of a signal, which may be mapped in pieces; none when it is not mapped.
std::optional<Number> widthOf(const BusInterface& bus, std::string_view signal) {
    std::optional<Number> width;
    for (const PortMap& map : bus.portMaps) {
        if (map.physical.empty() || !HSTStringUtils::equalsIgnoreCase(map.logical, signal)) continue;
        width = width ? sum(*width, map.width) : map.width;
    }
    return width;
}

/// The widths of two signals of which a bus may have one alone; one that is unknown makes both so.
std::pair<Number, Number> widthsOf(const BusInterface& bus, std::string_view first, std::string_view second) {
    std::optional<Number> one = widthOf(bus, first), other = widthOf(bus, second);
    if (!one && !other) one = unknown("no port is mapped to " + std::string(first), bus.line);
    if (!one || (other && !other->value)) one = other;
    if (!other || !one->value) other = one;
    return {*one, *other};
}

bool isForSynthesis(const View& view) {
    return std::any_of(
        view.environments.begin(), view.environments.end(), [](const std::string& environment) {
            return HSTStringUtils::foldCase(environment).find("synthesis") != std::string::npos;
        });
}

bool soundsLikeClock(const std::string& name) {
    const std::string folded = HSTStringUtils::foldCase(name);
    return folded.find("clk") != std::string::npos || folded.find("clock") != std::string::npos;
}

}  // namespace

const BusInterface* findBusInterface(const IpComponent& component, std::string_view name) {
    return findByName(component.busInterfaces, name);
}

const Port* findPort(const IpComponent& component, std::string_view name) {
    return findByName(component.ports, name);
}

const PortMap* findPortMap(const BusInterface& bus, std::string_view logical) {
    const auto found = std::find_if(bus.portMaps.begin(), bus.portMaps.end(), [&](const PortMap& map) {
        return HSTStringUtils::equalsIgnoreCase(map.logical, logical);
    });
    return found == bus.portMaps.end() ? nullptr : &*found;
}

Number dataWidth(const BusInterface& bus) {
    if (bus.kind == BusKind::Stream) return widthsOf(bus, "TDATA", "DATA").first;
    if (!isMemoryMapped(bus)) return unknown("it is neither memory-mapped nor a stream", bus.line);
    const auto [write, read] = widthsOf(bus, "WDATA", "RDATA");
    if (write.value == read.value) return write;
    return unknown(
        "WDATA has " + std::to_string(*write.value) + " bits and RDATA " + std::to_string(*read.value),
        bus.line);
}

Number addressWidth(const BusInterface& bus) {
    if (!isMemoryMapped(bus)) return unknown("it is not memory-mapped", bus.line);
    const auto [write, read] = widthsOf(bus, "AWADDR", "ARADDR");
    return write.value < read.value ? write : read;
}

Found<AddressBlock> addressBlock(const IpComponent& component, const BusInterface& slave) {
    if (slave.memoryMap.empty()) return {nullptr, "it refers to no memory map"};
    const MemoryMap* map = findByName(component.memoryMaps, slave.memoryMap);
    const std::string named = "the memory map " + quoted(slave.memoryMap);
    if (map == nullptr) return {nullptr, named + " is not there"};
    if (!map->incomplete.empty()) return {nullptr, map->incomplete};
    if (map->blocks.size() == 1) return {&map->blocks.front(), {}};
    return {nullptr, named + " has " + std::to_string(map->blocks.size()) + " address blocks"};
}

Found<AddressSpace> addressSpace(const IpComponent& component, const BusInterface& master) {
    if (master.addressSpace.empty()) return {nullptr, "it refers to no address space"};
    const AddressSpace* space = findByName(component.addressSpaces, master.addressSpace);
    if (space == nullptr)
        return {nullptr, "the address space " + quoted(master.addressSpace) + " is not there"};
    return {space, {}};
}

Found<View> synthesisView(const IpComponent& component) {
    const std::vector<View>& views = component.views;
    auto found = std::find_if(views.begin(), views.end(), isForSynthesis);
    if (found == views.end())
        found = std::find_if(views.begin(), views.end(),
                             [](const View& view) { return !view.module.empty() && !view.fileSets.empty(); });
    if (found == views.end()) return {nullptr, "no view is for synthesis, or has a top module and file sets"};
    return {&*found, {}};
}

ViewFiles filesOf(const IpComponent& component, const View& view) {
    ViewFiles result;
    if (view.fileSets.empty()) result.incomplete = "the view " + quoted(view.name) + " uses no file set";
    if (view.design) result.incomplete = "the view " + quoted(view.name) + " is made of other components";
    std::set<std::string_view> met;
    for (const std::string& name : view.fileSets) {
        if (!met.insert(name).second) continue;
        const FileSet* set = findByName(component.fileSets, name);
        if (set == nullptr) {
            result.incomplete = "the file set " + quoted(name) + " is not there";
            continue;
        }
        for (const File& file : set->files)
            result.files.push_back(&file);
    }
    return result;
}

std::vector<std::string> clockPorts(const IpComponent& component) {
    std::set<std::string_view> mapped;
    for (const BusInterface& bus : component.busInterfaces)
        for (const std::string_view signal : clockSignals)
            if (const PortMap* map = findPortMap(bus, signal)) mapped.insert(map->physical);
    std::vector<std::string> clocks;
    for (const Port& port : component.ports) {
        const bool isCalledSo =
            port.direction == Direction::In && port.width.value == 1 && soundsLikeClock(port.name);
        if (port.isClock || isCalledSo || mapped.contains(port.name)) clocks.push_back(port.name);
    }
    return clocks;
}

}  // namespace kfab::ip
