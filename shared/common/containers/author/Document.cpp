#include "containers/author/Arguments.h"
#include "containers/kernel/NumberText.h"

namespace kfab::author {
namespace {

enum Qualifier : std::uint32_t { Value = 0, Global = 1, Constant = 2 };

void append(KernelXML::Ports& ports, const BusPort& described) {
    KernelXML::Port& port = ports.port.append();
    port.name.set(described.bus->name);
    port.mode.set(described.isMaster ? "master" : "slave");
    port.dataWidth.set(described.dataWidth);
    port.portType.set(described.isStream ? "stream" : "addressable");
    if (described.isStream) return;
    port.range.set(kernel::hexadecimal(described.range));
    port.base.set("0x0");
}

void append(KernelXML::Args& args, const Argument& argument) {
    const Parameter& parameter = *argument.parameter;
    const std::string id = std::to_string(args.arg.size());
    KernelXML::Arg& arg = args.arg.append();
    arg.name.set(parameter.name);
    arg.addressQualifier.set(!parameter.isPointer ? Value : parameter.isConstant ? Constant : Global);
    arg.id.set(id);
    arg.port.set(argument.port->bus->name);
    arg.size.set(kernel::hexadecimal(argument.size));
    arg.offset.set(kernel::hexadecimal(argument.offset.value_or(0)));
    arg.hostOffset.set("0x0");
    arg.hostSize.set(kernel::hexadecimal(argument.size));
    arg.type.set(parameter.type);
}

/// What an IP does is done once.
template <class Size>
void setOneWorkItem(Size& size) {
    size.x.set(1);
    size.y.set(1);
    size.z.set(1);
}

}  // namespace

KernelXML::Root documentOf(const std::string& name, const std::string& vlnv, const KernelRequest& request,
                           const std::vector<BusPort>& ports, const std::vector<Argument>& arguments) {
    KernelXML::Root root;
    root.SetVersionMajor(root.versionMajor.get());
    root.SetVersionMinor(root.versionMinor.get());
    KernelXML::Kernel& kernel = root.kernel.getOrCreate();
    kernel.name.set(name);
    kernel.language.set(request.language);
    kernel.vlnv.set(vlnv);
    kernel.attributes.set("");
    kernel.preferredWorkGroupSizeMultiple.set("0");
    kernel.workGroupSize.set("1");
    if (!request.interrupt.empty()) kernel.interrupt.set(request.interrupt);
    if (!request.protocol.empty()) kernel.hwControlProtocol.set(request.protocol);
    for (const BusPort& port : ports)
        append(kernel.ports, port);
    for (const Argument& argument : arguments)
        append(kernel.args, argument);
    setOneWorkItem(kernel.compileWorkGroupSize.append());
    setOneWorkItem(kernel.maxWorkGroupSize.getOrCreate());
    return root;
}

}  // namespace kfab::author
