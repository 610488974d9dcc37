#pragma once

#include "containers/design/ProfileRecords.h"
#include "platform/base/Export.h"
#include "platform/xml/Table.h"

#include <cstdint>
#include <string>

/// The records of a kernel description (kernel.xml). Members carry the names of their attributes and
/// elements.
namespace KernelXML {

// Those of the profile.
using Records = ProfileRecords<Document>;
using AreaEstimates = Records::AreaEstimates;
using FIFOInformation = Records::FIFOInformation;
using FIFOInst = Records::FIFOInst;
using Instance = Records::Instance;
using InstListType = Records::InstListType;
using InterfaceList = Records::InterfaceList;
using InterfaceSummary = Records::InterfaceSummary;
using Module = Records::Module;
using ModuleInformation = Records::ModuleInformation;
using PerformanceEstimates = Records::PerformanceEstimates;
using Profile = Records::Profile;
using Resources = Records::Resources;
using RTLDesignHierarchy = Records::RTLDesignHierarchy;
using RtlPorts = Records::RtlPorts;
using SummaryOfLoopLatency = Records::SummaryOfLoopLatency;
using SummaryOfOverallLatency = Records::SummaryOfOverallLatency;
using SummaryOfTimingAnalysis = Records::SummaryOfTimingAnalysis;
using TopModule = Records::TopModule;

using Text = lmx60::Value<std::string>;
using Number = lmx60::Value<std::uint32_t>;

/// A bus port of the kernel. The range is text, exactly as found.
struct KP_EXPORT Port : lmx60::Record<Port, "port"> {
    Text name, mode, range;
    Number dataWidth;  ///< in bits
    Text portType, base;
    static const lmx60::Table table;
};

/// All ports, in document order.
struct KP_EXPORT Ports : lmx60::Record<Ports, "ports"> {
    lmx60::List<Port> port;
    static const lmx60::Table table;
};

/// Sizes and offsets are text, exactly as found.
struct KP_EXPORT Arg : lmx60::Record<Arg, "arg"> {
    Text name;
    Number addressQualifier;
    Text id, port, size, offset, hostOffset, hostSize, type, memSize, origName, origUse;
    static const lmx60::Table table;
};

/// All arguments, in document order.
struct KP_EXPORT Args : lmx60::Record<Args, "args"> {
    lmx60::List<Arg> arg;
    static const lmx60::Table table;
};

/// Work items of a group in each dimension, as the kernel was compiled for.
struct KP_EXPORT CompileWorkGroupSize : lmx60::Record<CompileWorkGroupSize, "compileWorkGroupSize"> {
    Number x, y, z;
    static const lmx60::Table table;
};

/// The most work items of a group in each dimension.
struct KP_EXPORT MaxWorkGroupSize : lmx60::Record<MaxWorkGroupSize, "maxWorkGroupSize"> {
    Number x, y, z;
    static const lmx60::Table table;
};

/// A format string that the kernel prints with, and the number it goes by.
struct KP_EXPORT FormatString : lmx60::Record<FormatString, "format_string"> {
    Number id;
    Text value;
    static const lmx60::Table table;
};

/// All format strings of the kernel.
struct KP_EXPORT StringTable : lmx60::Record<StringTable, "string_table"> {
    lmx60::List<FormatString> format_string;
    static const lmx60::Table table;
};

/// The kernel itself. Numbers among the texts are exactly as found.
struct KP_EXPORT Kernel : lmx60::Record<Kernel, "kernel"> {
    Text name, language, vlnv, attributes, hash, preferredWorkGroupSizeMultiple, workGroupSize, debug;
    Text compileOptions, profileType, interrupt, hwControlProtocol;
    Ports ports;
    Args args;
    lmx60::List<CompileWorkGroupSize> compileWorkGroupSize;
    lmx60::Optional<MaxWorkGroupSize> maxWorkGroupSize;
    lmx60::Optional<StringTable> string_table;
    static const lmx60::Table table;
};

/// A memory that kernels share; the size is text.
struct KP_EXPORT Memory : lmx60::Record<Memory, "memory"> {
    Text name, size, linkage;
    static const lmx60::Table table;
};

/// A pipe between kernels; width and depth are text.
struct KP_EXPORT Pipe : lmx60::Record<Pipe, "pipe"> {
    Text name, width, depth, linkage;
    static const lmx60::Table table;
};

/// A connection from a port of one instance to a port of another.
struct KP_EXPORT Connection : lmx60::Record<Connection, "connection"> {
    Text srcInst, srcPort, dstInst, dstPort, srcType, dstType;
    static const lmx60::Table table;
};

/// The document element. A new one holds an empty kernel and version 1.10, neither number marked present: it
/// is valid, and can be written, once both were set.
struct KP_EXPORT Root : lmx60::Record<Root, "root"> {
    /// The latest version that this system knows all of.
    static constexpr std::uint32_t knownMajor = 1, knownMinor = 10;

    Number versionMajor{knownMajor}, versionMinor{knownMinor};
    lmx60::Optional<Kernel> kernel{std::in_place};
    lmx60::List<Memory> memory;
    lmx60::List<Pipe> pipe;
    lmx60::List<Connection> connection;
    lmx60::Optional<Profile> profile;
    static const lmx60::Table table;

    /// Whether the document that this was read from, one of a later version, holds more than is here: written
    /// anew it would lose that. Copied, but no part of equality.
    bool isIncomplete = false;

    void SetVersionMajor(std::uint32_t version) { versionMajor.set(version); }
    void SetVersionMinor(std::uint32_t version) { versionMinor.set(version); }
};

}  // namespace KernelXML
