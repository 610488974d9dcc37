#include "containers/author/Arguments.h"
#include "containers/author/KernelRefused.h"
#include "containers/author/Registers.h"
#include "containers/kernel/NumberText.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <numeric>
#include <set>

namespace kfab::author {
namespace {

using Lacking = KernelRefused::Lacking;

/// Below it, protocols have registers of their own.
constexpr std::uint64_t controlBlockEnd = 0x10;

constexpr auto isMappedSlave = [](const BusPort& port) { return port.isMappedSlave(); };

/// The slave that has the values and the addresses of pointers.
const BusPort& controlPort(const std::vector<BusPort>& ports, const std::vector<Argument>& arguments) {
    const BusPort* port = onlyPort(ports, isMappedSlave);
    const Argument* value = nullptr;
    for (const Argument& argument : arguments) {
        if (argument.isStream() || argument.parameter->isPointer) continue;
        if (port == nullptr) port = argument.port;
        if (value == nullptr) value = &argument;
    }
    if (port != nullptr) return *port;
    const std::string slaves = namesOf(ports, isMappedSlave);
    if (slaves.empty())
        throw KernelRefused(
            "The IP has no memory-mapped slave, where values and the addresses of pointers lie");
    throw KernelRefused(
        "The control port, where values and the addresses of pointers lie, may be any of " + slaves,
        value == nullptr ? Lacking::Nothing : Lacking::Port, value == nullptr ? "" : value->name());
}

class Placement {
public:
    Placement(const BusPort& control, std::vector<Argument>& arguments)
        : control_(control), arguments_(arguments) {}

    /// Behind what is described, at the next place that no other argument has.
    void assume(Argument& argument, const Registers& registers) {
        const std::uint64_t alignment = std::lcm(argument.size, std::uint64_t{4});
        std::uint64_t offset = std::max({controlBlockEnd, registers.end(argument.name()), assumedEnd_});
        for (;;) {
            const std::uint64_t gap = (alignment - offset % alignment) % alignment;
            if (offset > control_.range || gap > control_.range - offset) refuse(argument, offset);
            offset += gap;
            requireInside(argument, offset);
            const Argument* other = otherAt(argument, offset);
            if (other == nullptr) break;
            offset = *other->offset + other->size;
        }
        argument.offset = offset;
        assumedEnd_ = offset + argument.size;
    }

    void requireInside(const Argument& argument, std::uint64_t offset) const {
        if (offset > control_.range || argument.size > control_.range - offset) refuse(argument, offset);
    }

    void requireAlone(const Argument& argument) const {
        if (const Argument* other = otherAt(argument, *argument.offset))
            throw KernelRefused("The arguments " + HUTPathUtils::quoted(argument.name()) + " at " +
                                kernel::hexadecimal(*argument.offset) + " and " +
                                HUTPathUtils::quoted(other->name()) + " at " +
                                kernel::hexadecimal(*other->offset) + " overlap");
    }

private:
    [[noreturn]] void refuse(const Argument& argument, std::uint64_t offset) const {
        throw KernelRefused("The argument " + HUTPathUtils::quoted(argument.name()) + " of " +
                                std::to_string(argument.size) + " bytes at " + kernel::hexadecimal(offset) +
                                " ends beyond the " + kernel::hexadecimal(control_.range) + " bytes of " +
                                HUTPathUtils::quoted(control_.bus->name),
                            Lacking::Offset, argument.name());
    }

    /// Another argument that would share bytes.
    const Argument* otherAt(const Argument& argument, std::uint64_t offset) const {
        const auto found = std::find_if(arguments_.begin(), arguments_.end(), [&](const Argument& other) {
            return &other != &argument && other.offset && *other.offset < offset + argument.size &&
                   offset < *other.offset + other.size;
        });
        return found == arguments_.end() ? nullptr : &*found;
    }

    const BusPort& control_;
    std::vector<Argument>& arguments_;
    std::uint64_t assumedEnd_ = 0;
};

/// Gives values their port, and all arguments the offsets that are known.
void placeKnown(const BusPort& control, const Registers& registers, std::vector<Argument>& arguments) {
    std::set<std::string> names;
    for (const Argument& argument : arguments)
        names.insert(argument.name());
    for (Argument& argument : arguments) {
        if (argument.port == nullptr) argument.port = &control;
        if (argument.port->isMappedSlave() && argument.port != &control)
            throw KernelRefused("The argument " + HUTPathUtils::quoted(argument.name()) + " lies on " +
                                HUTPathUtils::quoted(argument.port->bus->name) + " and others on " +
                                HUTPathUtils::quoted(control.bus->name));
        if (!argument.isStream() && !argument.offset)
            argument.offset = registers.offsetOf(argument.name(), argument.size, names);
    }
}

void requireOutsideControlBlock(const Argument& argument, const std::string& protocol) {
    if (protocol == "start_done" && *argument.offset < controlBlockEnd)
        throw KernelRefused("The argument " + HUTPathUtils::quoted(argument.name()) + " at " +
                            kernel::hexadecimal(*argument.offset) +
                            " lies in the registers of the protocol 'start_done', below 0x10");
}

}  // namespace

std::vector<AssumedOffset> placeArguments(const ip::IpComponent& component, const KernelRequest& request,
                                          const std::vector<BusPort>& ports,
                                          std::vector<Argument>& arguments) {
    const auto isStream = [](const Argument& argument) { return argument.isStream(); };
    if (std::all_of(arguments.begin(), arguments.end(), isStream)) return {};
    const BusPort& control = controlPort(ports, arguments);
    const Registers registers(component, *control.bus);
    placeKnown(control, registers, arguments);

    Placement placement(control, arguments);
    std::vector<AssumedOffset> assumed;
    for (const Argument& argument : arguments)
        if (argument.offset) placement.requireInside(argument, *argument.offset);
    for (Argument& argument : arguments) {
        if (argument.isStream() || argument.offset) continue;
        placement.assume(argument, registers);
        assumed.push_back({argument.name(), *argument.offset});
    }
    for (const Argument& argument : arguments) {
        if (argument.isStream()) continue;
        placement.requireAlone(argument);
        requireOutsideControlBlock(argument, request.protocol);
    }
    return assumed;
}

}  // namespace kfab::author
