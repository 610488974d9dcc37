#include "containers/kernel/KernelRecords.h"

namespace KernelXML {

using lmx60::attribute;
using lmx60::child;
using lmx60::Occurs;
using lmx60::requiredChild;
using lmx60::Table;

constinit const Table Port::table{
    attribute<&Port::name>("name"),         attribute<&Port::mode>("mode"),
    attribute<&Port::range>("range"),       attribute<&Port::dataWidth>("dataWidth"),
    attribute<&Port::portType>("portType"), attribute<&Port::base>("base"),
};

constinit const Table Ports::table{
    child<&Ports::port>(),
};

constinit const Table Arg::table{
    attribute<&Arg::name>("name"),
    attribute<&Arg::addressQualifier>("addressQualifier"),
    attribute<&Arg::id>("id"),
    attribute<&Arg::port>("port"),
    attribute<&Arg::size>("size"),
    attribute<&Arg::offset>("offset"),
    attribute<&Arg::hostOffset>("hostOffset"),
    attribute<&Arg::hostSize>("hostSize"),
    attribute<&Arg::type>("type"),
    attribute<&Arg::memSize>("memSize"),
    attribute<&Arg::origName>("origName"),
    attribute<&Arg::origUse>("origUse"),
};

constinit const Table Args::table{
    child<&Args::arg>(),
};

constinit const Table CompileWorkGroupSize::table{
    attribute<&CompileWorkGroupSize::x>("x"),
    attribute<&CompileWorkGroupSize::y>("y"),
    attribute<&CompileWorkGroupSize::z>("z"),
};

constinit const Table MaxWorkGroupSize::table{
    attribute<&MaxWorkGroupSize::x>("x"),
    attribute<&MaxWorkGroupSize::y>("y"),
    attribute<&MaxWorkGroupSize::z>("z"),
};

constinit const Table FormatString::table{
    attribute<&FormatString::id>("id"),
    attribute<&FormatString::value>("value"),
};

constinit const Table StringTable::table{
    child<&StringTable::format_string>(),
};

constinit const Table Kernel::table{
    attribute<&Kernel::name>("name"),
    attribute<&Kernel::language>("language"),
    attribute<&Kernel::vlnv>("vlnv"),
    attribute<&Kernel::attributes>("attributes"),
    attribute<&Kernel::hash>("hash"),
    attribute<&Kernel::preferredWorkGroupSizeMultiple>("preferredWorkGroupSizeMultiple"),
    attribute<&Kernel::workGroupSize>("workGroupSize"),
    attribute<&Kernel::debug>("debug"),
    attribute<&Kernel::compileOptions>("compileOptions"),
    attribute<&Kernel::profileType>("profileType"),
    attribute<&Kernel::interrupt>("interrupt"),
    attribute<&Kernel::hwControlProtocol>("hwControlProtocol"),
    child<&Kernel::ports>(),
    child<&Kernel::args>(),
    child<&Kernel::compileWorkGroupSize>(),
    child<&Kernel::maxWorkGroupSize>(),
    child<&Kernel::string_table>(),
};

constinit const Table Memory::table{
    attribute<&Memory::name>("name"),
    attribute<&Memory::size>("size"),
    attribute<&Memory::linkage>("linkage"),
};

constinit const Table Pipe::table{
    attribute<&Pipe::name>("name"),
    attribute<&Pipe::width>("width"),
    attribute<&Pipe::depth>("depth"),
    attribute<&Pipe::linkage>("linkage"),
};

constinit const Table Connection::table{
    attribute<&Connection::srcInst>("srcInst"), attribute<&Connection::srcPort>("srcPort"),
    attribute<&Connection::dstInst>("dstInst"), attribute<&Connection::dstPort>("dstPort"),
    attribute<&Connection::srcType>("srcType"), attribute<&Connection::dstType>("dstType"),
};

constinit const Table Root::table{
    attribute<&Root::versionMajor>("versionMajor", Occurs::Required),
    attribute<&Root::versionMinor>("versionMinor", Occurs::Required),
    requiredChild<&Root::kernel>(),
    child<&Root::memory>(),
    child<&Root::pipe>(),
    child<&Root::connection>(),
    child<&Root::profile>(),
};

}  // namespace KernelXML
