#include "containers/compare/Meaning.h"

#include "containers/kernel/KernelRecords.h"
#include "containers/kernel/NumberText.h"
#include "containers/kp/HKPKernel.h"
#include "containers/kp/ManifestRecords.h"
#include "platform/base/HSTStringUtils.h"

#include <algorithm>
#include <unordered_map>

namespace kfab::compare {
namespace {

// Judges.

Kind inside(const Step&) {
    return Kind::Inside;
}

Kind breaking(const Step&) {
    return Kind::Breaking;
}

/// Nobody misses what is new.
Kind lossBreaks(const Step& step) {
    return step.change == Change::Added ? Kind::Compatible : Kind::Breaking;
}

/// A limit or a fixed size: nobody is bound by one that is gone.
Kind gainBreaks(const Step& step) {
    return step.change == Change::Removed ? Kind::Compatible : Kind::Breaking;
}

Kind lessBreaks(const Step& step) {
    const auto before = kernel::numberOf(step.before), now = kernel::numberOf(step.now);
    return before && now && *before < *now ? Kind::Compatible : Kind::Breaking;
}

bool isYes(const std::string& flag) {
    return HSTStringUtils::equalsIgnoreCase(flag, "yes") || HSTStringUtils::equalsIgnoreCase(flag, "true");
}

Kind noBreaks(const Step& step) {
    if (isYes(step.before) == isYes(step.now)) return Kind::Inside;
    return isYes(step.now) ? Kind::Compatible : Kind::Breaking;
}

/// A stream that nothing is linked to stops the kernel.
Kind portBreaks(const Step& step) {
    const auto& port = *static_cast<const KernelXML::Port*>(step.record);
    const bool isStream = HSTStringUtils::equalsIgnoreCase(port.portType.get(), "stream");
    return isStream ? Kind::Breaking : lossBreaks(step);
}

std::string flowName(const std::string& token) {
    KPContainer::SupportedFlow flow;
    lmx60::LeafText<KPContainer::SupportedFlow>::parse(token, flow);
    const std::string name =
        HKPKernel::getFlowAsStr(static_cast<HKPKernel::SupportedFlowType>(flow.ordinal - 1));
    return name.empty() ? "unknown" : name;
}

using enum Reading;
namespace manifest = KPContainer;
namespace description = KernelXML;

// clang-format off
const Meaning meanings[] = {
    {&manifest::Root::table, "VersionMajor", inside, Number},
    {&manifest::Root::table, "VersionMinor", inside, Number},
    {&manifest::Root::table, "SoftwareVersionMajor", inside, Number},
    {&manifest::Root::table, "SoftwareVersionMinor", inside, Number},
    {&manifest::Root::table, "IpCache", inside},
    {&manifest::Root::table, "IpCaches", nullptr},
    {&manifest::Root::table, "Kernels", nullptr},
    {&manifest::IpCaches::table, "Cache", inside, Text, "IP cache", {"CacheDir"}},
    {&manifest::Cache::table, "CacheDir", inside},
    {&manifest::Kernels::table, "Kernel", lossBreaks, Text, "kernel", {"Name"}},
    {&manifest::Kernel::table, "Name", breaking},
    {&manifest::Kernel::table, "Dir", inside},
    {&manifest::Kernel::table, "IP", inside},
    {&manifest::Kernel::table, "TopIpDir", inside},
    {&manifest::Kernel::table, "ProjectID", inside},
    {&manifest::Kernel::table, "Debug", inside},
    {&manifest::Kernel::table, "Hls", inside},
    {&manifest::Kernel::table, "Pdi", noBreaks},
    {&manifest::Kernel::table, "ShimSoln", noBreaks},
    {&manifest::Kernel::table, "SwEmu", noBreaks},
    {&manifest::Kernel::table, "SupportedFlows", nullptr},
    {.record = &manifest::SupportedFlows::table, .field = "SupportedFlow", .judge = lossBreaks, .noun = "flow", .shown = flowName},

    {&description::Root::table, "versionMajor", inside, Number},
    {&description::Root::table, "versionMinor", inside, Number},
    {&description::Root::table, "kernel", nullptr},
    {&description::Root::table, "memory", lossBreaks, Text, "memory", {"name"}},
    {&description::Root::table, "pipe", breaking, Text, "pipe", {"name"}},
    {&description::Root::table, "connection", breaking, Text, "connection", {"srcInst", "srcPort", "dstInst", "dstPort"}},
    {.record = &description::Root::table, .field = "profile", .judge = inside, .reading = Figure, .noun = "report"},
    {&description::Kernel::table, "name", breaking},
    {&description::Kernel::table, "language", inside, Word},
    {&description::Kernel::table, "vlnv", inside},
    {&description::Kernel::table, "attributes", inside},
    {&description::Kernel::table, "hash", inside},
    {&description::Kernel::table, "preferredWorkGroupSizeMultiple", inside, Number},
    {&description::Kernel::table, "workGroupSize", lessBreaks, Number},
    {&description::Kernel::table, "debug", inside, Word},
    {&description::Kernel::table, "compileOptions", inside},
    {&description::Kernel::table, "profileType", inside},
    {&description::Kernel::table, "interrupt", noBreaks},
    {&description::Kernel::table, "hwControlProtocol", breaking},
    {&description::Kernel::table, "ports", nullptr},
    {&description::Kernel::table, "args", nullptr},
    {&description::Kernel::table, "compileWorkGroupSize", gainBreaks, Text, "compileWorkGroupSize"},
    {&description::Kernel::table, "maxWorkGroupSize", gainBreaks, Text, "maxWorkGroupSize"},
    {&description::Kernel::table, "string_table", nullptr},
    {&description::Ports::table, "port", portBreaks, Text, "port", {"name"}},
    {&description::Port::table, "name", breaking},
    {&description::Port::table, "mode", breaking, Word},
    {&description::Port::table, "range", lessBreaks, Number},
    {&description::Port::table, "dataWidth", lessBreaks, Number},
    {&description::Port::table, "portType", breaking, Word},
    {&description::Port::table, "base", breaking, Number},
    {&description::Args::table, "arg", breaking, Text, "argument", {"name"}, "id", true},
    {&description::Arg::table, "name", breaking},
    {&description::Arg::table, "addressQualifier", breaking, Number},
    {&description::Arg::table, "id", breaking, Number},
    {&description::Arg::table, "port", breaking},
    {&description::Arg::table, "size", breaking, Number},
    {&description::Arg::table, "offset", breaking, Number},
    {&description::Arg::table, "hostOffset", breaking, Number},
    {&description::Arg::table, "hostSize", breaking, Number},
    {&description::Arg::table, "type", breaking},
    {&description::Arg::table, "memSize", lessBreaks, Number},
    {&description::Arg::table, "origName", inside},
    {&description::Arg::table, "origUse", inside},
    {&description::CompileWorkGroupSize::table, "x", breaking, Number},
    {&description::CompileWorkGroupSize::table, "y", breaking, Number},
    {&description::CompileWorkGroupSize::table, "z", breaking, Number},
    {&description::MaxWorkGroupSize::table, "x", lessBreaks, Number},
    {&description::MaxWorkGroupSize::table, "y", lessBreaks, Number},
    {&description::MaxWorkGroupSize::table, "z", lessBreaks, Number},
    {&description::StringTable::table, "format_string", inside, Text, "format string", {"id"}},
    {&description::FormatString::table, "id", inside, Number},
    {&description::FormatString::table, "value", inside},
    {&description::Memory::table, "name", breaking},
    {&description::Memory::table, "size", lessBreaks, Number},
    {&description::Memory::table, "linkage", breaking},
    {&description::Pipe::table, "name", breaking},
    {&description::Pipe::table, "width", breaking, Number},
    {&description::Pipe::table, "depth", lessBreaks, Number},
    {&description::Pipe::table, "linkage", breaking},
    {&description::Connection::table, "srcInst", breaking},
    {&description::Connection::table, "srcPort", breaking},
    {&description::Connection::table, "dstInst", breaking},
    {&description::Connection::table, "dstPort", breaking},
    {&description::Connection::table, "srcType", breaking},
    {&description::Connection::table, "dstType", breaking},

    // Of the report those alone that are called by a name.
    {&description::RTLDesignHierarchy::table, "TopModule", inside, Text, "top module", {"ModuleName"}},
    {&description::InstListType::table, "Instance", inside, Text, "instance", {"InstName"}},
    {&description::ModuleInformation::table, "Module", inside, Text, "module", {"Name"}},
    {&description::InterfaceSummary::table, "RtlPorts", inside, Text, "RTL port", {"name"}},
    {&description::FIFOInformation::table, "FIFOInst", inside, Text, "FIFO", {"Name"}},
};
// clang-format on

std::unordered_map<const lmx60::Field*, const Meaning*> indexed() {
    std::unordered_map<const lmx60::Field*, const Meaning*> index;
    for (const Meaning& meaning : meanings) {
        const auto* field =
            std::find_if(meaning.record->begin(), meaning.record->end(),
                         [&](const lmx60::Field& each) { return each.name == meaning.field; });
        if (field != meaning.record->end()) index.emplace(field, &meaning);
    }
    return index;
}

}  // namespace

const Meaning* meaningOf(const lmx60::Field& field) {
    static const auto index = indexed();
    const auto found = index.find(&field);
    return found == index.end() ? nullptr : found->second;
}

}  // namespace kfab::compare
