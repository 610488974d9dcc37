#include "containers/author/KernelAuthor.h"

#include "containers/author/Arguments.h"
#include "containers/kernel/CTypes.h"
#include "platform/base/Spelling.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <limits>

namespace kfab::author {
namespace {

using Lacking = KernelRefused::Lacking;

constexpr std::uint64_t pointerBytes = 8;

/// What the request names must be there.
template <class ByArgument>
void requireArguments(const Prototype& prototype, const ByArgument& byArgument) {
    std::vector<std::string> names;
    for (const Parameter& parameter : prototype.parameters)
        names.push_back(parameter.name);
    for (const auto& [name, value] : byArgument) {
        if (std::find(names.begin(), names.end(), name) != names.end()) continue;
        const std::string near = nearestSpelling(name, names);
        throw KernelRefused("The prototype has no argument " + HUTPathUtils::quoted(name) +
                            (near.empty() ? "" : "; did you mean " + HUTPathUtils::quoted(near) + "?"));
    }
}

/// The port that the request gives an argument.
const BusPort* givenPort(const std::vector<BusPort>& ports, const Parameter& parameter,
                         const std::string& name) {
    const auto isWanted = [&](const BusPort& port) {
        return port.isStream || port.isMaster == parameter.isPointer;
    };
    const BusPort* port = findPort(ports, name);
    if (port != nullptr && isWanted(*port)) return port;
    const std::string wanted = namesOf(ports, isWanted);
    const char* reason = port == nullptr  ? "no memory-mapped interface or stream of the IP"
                         : port->isMaster ? "a master, and it is a value"
                                          : "a slave, and it is a pointer";
    throw KernelRefused("The argument " + HUTPathUtils::quoted(parameter.name) + " cannot go through " +
                        HUTPathUtils::quoted(name) + ", which is " + reason +
                        (wanted.empty() ? "" : "; it could go through " + wanted));
}

const BusPort* onlyMaster(const std::vector<BusPort>& ports, const Parameter& pointer) {
    const auto isMaster = [](const BusPort& port) { return port.isMappedMaster(); };
    if (const BusPort* only = onlyPort(ports, isMaster)) return only;
    const std::string masters = namesOf(ports, isMaster);
    if (masters.empty())
        throw KernelRefused("The argument " + HUTPathUtils::quoted(pointer.name) +
                            " is a pointer, but the IP has no memory-mapped master that it could go through");
    throw KernelRefused(
        "The argument " + HUTPathUtils::quoted(pointer.name) + " may go through any of " + masters,
        Lacking::Port, pointer.name);
}

/// None for a value, whose port is the control port.
const BusPort* portOf(const Parameter& parameter, const KernelRequest& request,
                      const std::vector<BusPort>& ports) {
    const auto given = request.ports.find(parameter.name);
    if (given != request.ports.end()) return givenPort(ports, parameter, given->second);
    const BusPort* named = findPort(ports, parameter.name);
    if (named != nullptr && named->isStream) return named;
    return parameter.isPointer ? onlyMaster(ports, parameter) : nullptr;
}

std::uint64_t sizeOf(const Parameter& parameter, const KernelRequest& request) {
    const auto given = request.sizes.find(parameter.name);
    if (given == request.sizes.end()) {
        if (const auto known = kernel::sizeOfCType(parameter.type)) return *known;
        throw PrototypeRefused(request.prototype, parameter.at,
                               "the size of " + HUTPathUtils::quoted(parameter.type) + ", the type of " +
                                   HUTPathUtils::quoted(parameter.name) + ", is not known",
                               Lacking::Size, parameter.name);
    }
    const std::uint64_t size = given->second;
    if (parameter.isPointer && size != pointerBytes)
        throw KernelRefused("The argument " + HUTPathUtils::quoted(parameter.name) +
                            " is a pointer, which has 8 bytes");
    if (size == 0 || size > std::numeric_limits<std::uint32_t>::max())
        throw KernelRefused("The argument " + HUTPathUtils::quoted(parameter.name) + " cannot have " +
                            std::to_string(size) + " bytes");
    return size;
}

Argument describe(const Parameter& parameter, const KernelRequest& request,
                  const std::vector<BusPort>& ports) {
    Argument argument;
    argument.parameter = &parameter;
    argument.port = portOf(parameter, request, ports);
    argument.size = sizeOf(parameter, request);
    const auto given = request.offsets.find(parameter.name);
    if (given == request.offsets.end()) return argument;
    if (argument.isStream())
        throw KernelRefused("The argument " + HUTPathUtils::quoted(parameter.name) +
                            " is a stream's and has no offset");
    argument.offset = given->second;
    return argument;
}

std::string vlnvOf(const ip::IpComponent& component) {
    std::string vlnv = component.vlnv.text();
    if (std::count(vlnv.begin(), vlnv.end(), ':') == 3) return vlnv;
    throw KernelRefused("The component's VLNV " + HUTPathUtils::quoted(vlnv) +
                        " has a ':' in one of its four fields");
}

}  // namespace

NewKernel describeKernel(const ip::IpComponent& component, const KernelRequest& request) {
    const Prototype prototype = readPrototype(request.prototype);
    const std::string& name = request.name.empty() ? prototype.function : request.name;
    if (!isIdentifier(name))
        throw KernelRefused("The kernel's name " + HUTPathUtils::quoted(name) + " is no C identifier");
    requireArguments(prototype, request.ports);
    requireArguments(prototype, request.offsets);
    requireArguments(prototype, request.sizes);

    const std::string vlnv = vlnvOf(component);
    const std::vector<BusPort> ports = busPortsOf(component);
    std::vector<Argument> arguments;
    for (const Parameter& parameter : prototype.parameters)
        arguments.push_back(describe(parameter, request, ports));
    std::vector<AssumedOffset> assumed = placeArguments(component, request, ports, arguments);
    return {documentOf(name, vlnv, request, ports, arguments), std::move(assumed)};
}

}  // namespace kfab::author
