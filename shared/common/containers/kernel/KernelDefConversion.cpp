#include "containers/kernel/KernelDefConversion.h"

#include "platform/base/HSTStringUtils.h"

namespace kfab::kernel {
namespace {

template <class Record, class Desc>
struct TextPair {
    KernelXML::Text Record::*from;
    std::string Desc::*to;
};

constexpr TextPair<KernelXML::Kernel, KernelDef> kernelTexts[] = {
    {&KernelXML::Kernel::name, &KernelDef::name},
    {&KernelXML::Kernel::language, &KernelDef::language},
    {&KernelXML::Kernel::vlnv, &KernelDef::vlnv},
    {&KernelXML::Kernel::attributes, &KernelDef::attributes},
    {&KernelXML::Kernel::hash, &KernelDef::hash},
    {&KernelXML::Kernel::preferredWorkGroupSizeMultiple, &KernelDef::preferredWorkGroupSizeMultiple},
    {&KernelXML::Kernel::workGroupSize, &KernelDef::workGroupSize},
    {&KernelXML::Kernel::debug, &KernelDef::debug},
    {&KernelXML::Kernel::compileOptions, &KernelDef::compileOptions},
    {&KernelXML::Kernel::profileType, &KernelDef::profileType},
};

constexpr TextPair<KernelXML::Arg, ArgDesc> argTexts[] = {
    {&KernelXML::Arg::name, &ArgDesc::name},         {&KernelXML::Arg::id, &ArgDesc::id},
    {&KernelXML::Arg::port, &ArgDesc::port},         {&KernelXML::Arg::size, &ArgDesc::size},
    {&KernelXML::Arg::offset, &ArgDesc::offset},     {&KernelXML::Arg::hostOffset, &ArgDesc::hostOffset},
    {&KernelXML::Arg::hostSize, &ArgDesc::hostSize}, {&KernelXML::Arg::type, &ArgDesc::type},
    {&KernelXML::Arg::memSize, &ArgDesc::memSize},   {&KernelXML::Arg::origName, &ArgDesc::origName},
    {&KernelXML::Arg::origUse, &ArgDesc::origUse},
};

constexpr TextPair<KernelXML::Port, PortDesc> portTexts[] = {
    {&KernelXML::Port::name, &PortDesc::name},   {&KernelXML::Port::mode, &PortDesc::mode},
    {&KernelXML::Port::range, &PortDesc::range}, {&KernelXML::Port::portType, &PortDesc::portType},
    {&KernelXML::Port::base, &PortDesc::base},
};

template <class Record, class Desc, std::size_t size>
void copyTexts(const Record& from, Desc& to, const TextPair<Record, Desc> (&pairs)[size]) {
    for (const auto& pair : pairs)
        to.*pair.to = (from.*pair.from).get();
}

}  // namespace

KernelDef convertToKernelDef(const KernelXML::Root& root) {
    const KernelXML::Kernel& kernel = root.kernel.value();
    KernelDef definition;
    copyTexts(kernel, definition, kernelTexts);
    for (const KernelXML::Arg& arg : kernel.args.arg) {
        ArgDesc desc;
        copyTexts(arg, desc, argTexts);
        desc.addressQualifier = arg.addressQualifier.get();
        definition.addArgDesc(desc);
    }
    for (const KernelXML::Port& port : kernel.ports.port) {
        PortDesc desc;
        copyTexts(port, desc, portTexts);
        desc.dataWidth = port.dataWidth.get();
        definition.addPortDesc(desc);
    }
    return definition;
}

bool isRtlKernel(const KernelXML::Kernel& kernel) {
    return HSTStringUtils::equalsIgnoreCase(kernel.language.get(), "ip");
}

bool isDebugKernel(const KernelXML::Kernel& kernel) {
    return HSTStringUtils::equalsIgnoreCase(kernel.debug.get(), "true");
}

}  // namespace kfab::kernel
