// Components of IPs: what is read twice is equal, and every question about it has an answer.

#include "containers/ip/ComponentFacts.h"
#include "containers/ip/ComponentReader.h"
#include "containers/ip/ParameterCheck.h"
#include "platform/xml/Errors.h"

#include "fuzz/Fuzz.h"

namespace {

using namespace kfab::ip;

void requireReason(const Number& number) {
    fuzz::require(number.value.has_value() == number.unknown.empty(), "a number is known or has a reason");
}

template <class Part>
void requireReason(const Found<Part>& found) {
    fuzz::require((found.part != nullptr) == found.unknown.empty(), "a part is there or has a reason");
}

void ask(const IpComponent& component) {
    for (const BusInterface& bus : component.busInterfaces) {
        requireReason(dataWidth(bus));
        requireReason(addressWidth(bus));
        requireReason(addressBlock(component, bus));
        requireReason(addressSpace(component, bus));
    }
    requireReason(synthesisView(component));
    for (const View& view : component.views)
        filesOf(component, view);
    for (const Port& port : component.ports)
        requireReason(port.width);
    for (const MemoryMap& map : component.memoryMaps)
        for (const AddressBlock& block : map.blocks)
            for (const Register& one : block.registers)
                requireReason(one.offset);
    for (const Parameter& parameter : component.parameters)
        checkParameter(component, parameter.name, parameter.value);
    fuzz::require(clockPorts(component).size() <= component.ports.size(), "clocks are ports");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string document(fuzz::text(data, size));
    IpComponent component;
    if (!fuzz::succeeds<lmx60::ReadError>([&] { component = parseComponent(document); })) return 0;
    fuzz::require(parseComponent(document) == component, "what is read twice is equal");
    ask(component);
    return 0;
}
