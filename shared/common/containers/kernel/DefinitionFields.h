#pragma once

#include "containers/kernel/KernelDef.h"
#include "containers/kernel/KernelRecords.h"

#include <cstdint>
#include <string>
#include <variant>

/// The plain fields of a kernel definition, of its arguments and of its ports: where each comes from, and
/// whether reports show it. Reading, assigning and showing definitions walk these rows.
namespace definition {

enum class Reported { Always, UnlessEmpty, Never };

template <class Record, class Desc>
struct Field {
    struct Text {
        KernelXML::Text Record::*from;
        std::string Desc::*to;
    };
    struct Number {
        KernelXML::Number Record::*from;
        std::uint32_t Desc::*to;
    };

    const char* name;  ///< of the attribute, and in reports
    std::variant<Text, Number> value;
    Reported reported = Reported::UnlessEmpty;
};

using KernelField = Field<KernelXML::Kernel, kfab::kernel::KernelDef>;
using ArgField = Field<KernelXML::Arg, kfab::kernel::ArgDesc>;
using PortField = Field<KernelXML::Port, kfab::kernel::PortDesc>;

inline constexpr KernelField kernelFields[] = {
    {"name", KernelField::Text{&KernelXML::Kernel::name, &kfab::kernel::KernelDef::name}, Reported::Always},
    {"language", KernelField::Text{&KernelXML::Kernel::language, &kfab::kernel::KernelDef::language}},
    {"vlnv", KernelField::Text{&KernelXML::Kernel::vlnv, &kfab::kernel::KernelDef::vlnv}, Reported::Always},
    {"attributes", KernelField::Text{&KernelXML::Kernel::attributes, &kfab::kernel::KernelDef::attributes}},
    {"hash", KernelField::Text{&KernelXML::Kernel::hash, &kfab::kernel::KernelDef::hash}},
    {"preferredWorkGroupSizeMultiple",
     KernelField::Text{&KernelXML::Kernel::preferredWorkGroupSizeMultiple,
                       &kfab::kernel::KernelDef::preferredWorkGroupSizeMultiple},
     Reported::Always},
    {"workGroupSize",
     KernelField::Text{&KernelXML::Kernel::workGroupSize, &kfab::kernel::KernelDef::workGroupSize},
     Reported::Always},
    {"debug", KernelField::Text{&KernelXML::Kernel::debug, &kfab::kernel::KernelDef::debug}},
    {"compileOptions",
     KernelField::Text{&KernelXML::Kernel::compileOptions, &kfab::kernel::KernelDef::compileOptions},
     Reported::Never},
    {"profileType", KernelField::Text{&KernelXML::Kernel::profileType, &kfab::kernel::KernelDef::profileType},
     Reported::Never},
};

inline constexpr ArgField argFields[] = {
    {"name", ArgField::Text{&KernelXML::Arg::name, &kfab::kernel::ArgDesc::name}, Reported::Always},
    {"addressQualifier",
     ArgField::Number{&KernelXML::Arg::addressQualifier, &kfab::kernel::ArgDesc::addressQualifier}},
    {"id", ArgField::Text{&KernelXML::Arg::id, &kfab::kernel::ArgDesc::id}},
    {"port", ArgField::Text{&KernelXML::Arg::port, &kfab::kernel::ArgDesc::port}},
    {"size", ArgField::Text{&KernelXML::Arg::size, &kfab::kernel::ArgDesc::size}},
    {"offset", ArgField::Text{&KernelXML::Arg::offset, &kfab::kernel::ArgDesc::offset}},
    {"hostOffset", ArgField::Text{&KernelXML::Arg::hostOffset, &kfab::kernel::ArgDesc::hostOffset}},
    {"hostSize", ArgField::Text{&KernelXML::Arg::hostSize, &kfab::kernel::ArgDesc::hostSize}},
    {"type", ArgField::Text{&KernelXML::Arg::type, &kfab::kernel::ArgDesc::type}},
    {"memSize", ArgField::Text{&KernelXML::Arg::memSize, &kfab::kernel::ArgDesc::memSize}},
    {"origName", ArgField::Text{&KernelXML::Arg::origName, &kfab::kernel::ArgDesc::origName}},
    {"origUse", ArgField::Text{&KernelXML::Arg::origUse, &kfab::kernel::ArgDesc::origUse}},
};

inline constexpr PortField portFields[] = {
    {"name", PortField::Text{&KernelXML::Port::name, &kfab::kernel::PortDesc::name}, Reported::Always},
    {"mode", PortField::Text{&KernelXML::Port::mode, &kfab::kernel::PortDesc::mode}},
    {"range", PortField::Text{&KernelXML::Port::range, &kfab::kernel::PortDesc::range}},
    {"dataWidth", PortField::Number{&KernelXML::Port::dataWidth, &kfab::kernel::PortDesc::dataWidth}},
    {"portType", PortField::Text{&KernelXML::Port::portType, &kfab::kernel::PortDesc::portType}},
    {"base", PortField::Text{&KernelXML::Port::base, &kfab::kernel::PortDesc::base}},
};

/// Sets all fields of a definition from a record.
template <class Record, class Desc, std::size_t size>
void take(const Record& from, Desc& to, const Field<Record, Desc> (&fields)[size]) {
    for (const auto& field : fields)
        std::visit([&](auto member) { to.*member.to = (from.*member.from).get(); }, field.value);
}

/// Calls `use` with the name, the value and whether it is reported, of each field in order.
template <class Record, class Desc, std::size_t size, class Use>
void forEach(const Desc& desc, const Field<Record, Desc> (&fields)[size], Use use) {
    for (const auto& field : fields)
        std::visit([&](auto member) { use(field.name, desc.*member.to, field.reported); }, field.value);
}

}  // namespace definition
