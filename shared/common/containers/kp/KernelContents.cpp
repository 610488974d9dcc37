#include "containers/kp/KernelContents.h"

#include "containers/kp/KernelParts.h"

#include <cstdint>
#include <variant>

namespace {

using kfab::kernel::ArgDesc;
using kfab::kernel::ExplorerIface;
using kfab::kernel::KernelDef;
using kfab::kernel::PortDesc;

enum class Shown { Always, UnlessEmpty };

template <class Desc>
struct Field {
    const char* key;
    std::variant<std::string Desc::*, std::uint32_t Desc::*> value;
    Shown shown = Shown::UnlessEmpty;
};

constexpr Field<KernelDef> kernelFields[] = {
    {"name", &KernelDef::name, Shown::Always},
    {"language", &KernelDef::language},
    {"vlnv", &KernelDef::vlnv, Shown::Always},
    {"attributes", &KernelDef::attributes},
    {"hash", &KernelDef::hash},
    {"preferredWorkGroupSizeMultiple", &KernelDef::preferredWorkGroupSizeMultiple, Shown::Always},
    {"workGroupSize", &KernelDef::workGroupSize, Shown::Always},
    {"debug", &KernelDef::debug},
};

constexpr Field<ArgDesc> argFields[] = {
    {"name", &ArgDesc::name, Shown::Always},
    {"addressQualifier", &ArgDesc::addressQualifier},
    {"id", &ArgDesc::id},
    {"port", &ArgDesc::port},
    {"size", &ArgDesc::size},
    {"offset", &ArgDesc::offset},
    {"hostOffset", &ArgDesc::hostOffset},
    {"hostSize", &ArgDesc::hostSize},
    {"type", &ArgDesc::type},
    {"memSize", &ArgDesc::memSize},
    {"origName", &ArgDesc::origName},
    {"origUse", &ArgDesc::origUse},
};

constexpr Field<PortDesc> portFields[] = {
    {"name", &PortDesc::name, Shown::Always}, {"mode", &PortDesc::mode},         {"range", &PortDesc::range},
    {"dataWidth", &PortDesc::dataWidth},      {"portType", &PortDesc::portType}, {"base", &PortDesc::base},
};

std::string textOf(const std::string& text) {
    return text;
}

std::string textOf(std::uint32_t number) {
    return std::to_string(number);
}

template <class Desc, std::size_t size>
KernelContents::Values valuesOf(const Desc& desc, const Field<Desc> (&fields)[size]) {
    KernelContents::Values values;
    for (const Field<Desc>& field : fields) {
        std::string text = std::visit([&](auto member) { return textOf(desc.*member); }, field.value);
        if (field.shown == Shown::Always || !text.empty()) values.emplace_back(field.key, std::move(text));
    }
    return values;
}

template <class Desc, std::size_t size>
std::vector<KernelContents::Values> valuesOfAll(const std::vector<Desc>& descs,
                                                const Field<Desc> (&fields)[size]) {
    std::vector<KernelContents::Values> all;
    all.reserve(descs.size());
    for (const Desc& desc : descs)
        all.push_back(valuesOf(desc, fields));
    return all;
}

}  // namespace

KernelContents KernelContents::of(const KernelDef& kernel, const ExplorerIface& explorer) {
    KernelContents contents;
    contents.definition = valuesOf(kernel, kernelFields);
    for (const KernelPart& part : kernelParts) {
        if (part.kind == KernelPart::Kind::Directory &&
            explorer.existsDir((explorer.*part.root)(kernel.name)))
            contents.flags.push_back(part.lineKey);
        if (part.list == nullptr) continue;
        KernelContents::Files& files = contents.files.emplace_back(Files{part.lineKey, part.arrayKey, {}});
        (explorer.*part.list)(kernel.name, files.names);
    }
    explorer.getShimSolnFile(kernel.name, contents.shimSolnFile);
    contents.args = valuesOfAll(kernel.args, argFields);
    contents.ports = valuesOfAll(kernel.ports, portFields);
    return contents;
}
