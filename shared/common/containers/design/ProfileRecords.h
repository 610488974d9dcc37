#pragma once

#include "platform/base/Export.h"
#include "platform/xml/Table.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The records of the synthesis profile: instance hierarchy, figures of each module, FIFO channels. They
/// stand in a report of their own and, unchanged, in a kernel description. Members carry the names of their
/// elements.
namespace DesignXML {

using Text = std::string;
template <class T>
using Leaves = lmx60::Leaves<T>;
template <class R>
using List = lmx60::List<R>;

struct Instance;

/// The instances below one.
struct KP_EXPORT InstListType : lmx60::Record<InstListType> {
    List<DesignXML::Instance> Instance;
    static const lmx60::Table table;
};

/// An instance of a module, with the instances in it.
struct KP_EXPORT Instance : lmx60::Record<Instance> {
    lmx60::Value<Text> InstName, ModuleName, ID;
    List<InstListType> InstancesList;
    static const lmx60::Table table;
};

/// The module at the top, with the instances in it.
struct KP_EXPORT TopModule : lmx60::Record<TopModule> {
    Leaves<Text> ModuleName;
    List<InstListType> InstancesList;
    static const lmx60::Table table;
};

/// The hierarchy of instances.
struct KP_EXPORT RTLDesignHierarchy : lmx60::Record<RTLDesignHierarchy> {
    List<DesignXML::TopModule> TopModule;
    static const lmx60::Table table;
};

/// Clock periods, in the unit that the synthesis step reports.
struct KP_EXPORT SummaryOfTimingAnalysis : lmx60::Record<SummaryOfTimingAnalysis> {
    Leaves<float> TargetClockPeriod, ClockUncertainty, EstimatedClockPeriod;
    static const lmx60::Table table;
};

/// Latencies in cycles and in time, and the pipelining; all texts, exactly as found.
struct KP_EXPORT SummaryOfOverallLatency : lmx60::Record<SummaryOfOverallLatency> {
    Leaves<Text> BestCaseLatency, AverageCaseLatency, WorstCaseLatency;
    Leaves<Text> BestCaseRealTimeLatency, AverageCaseRealTimeLatency, WorstCaseRealTimeLatency;
    Leaves<Text> PipelineInitiationInterval, PipelineType;
    static const lmx60::Table table;
};

/// Holds no figures, only how many loops there are; each is an empty element named "Loop*".
struct KP_EXPORT SummaryOfLoopLatency : lmx60::Record<SummaryOfLoopLatency> {
    lmx60::Markers Loop;
    static const lmx60::Table table;
};

/// A module's timing and latency.
struct KP_EXPORT PerformanceEstimates : lmx60::Record<PerformanceEstimates> {
    List<DesignXML::SummaryOfTimingAnalysis> SummaryOfTimingAnalysis;
    List<DesignXML::SummaryOfOverallLatency> SummaryOfOverallLatency;
    List<DesignXML::SummaryOfLoopLatency> SummaryOfLoopLatency;
    static const lmx60::Table table;
};

/// Counts of the device's resources.
struct KP_EXPORT Resources : lmx60::Record<Resources> {
    Leaves<std::uint32_t> BRAM18K, DSP48E, FF, LUT, SLICE, URAM;
    static const lmx60::Table table;
};

/// What a module takes of the device.
struct KP_EXPORT AreaEstimates : lmx60::Record<AreaEstimates> {
    List<DesignXML::Resources> Resources;
    static const lmx60::Table table;
};

/// A port of a module's hardware interface; `Bits` is its width.
struct KP_EXPORT RtlPorts : lmx60::Record<RtlPorts> {
    Leaves<Text> name, Object, Type, Scope, IOProtocol, IOConfig, Dir;
    Leaves<std::uint32_t> Bits;
    Leaves<Text> Attribute, CType;
    static const lmx60::Table table;
};

/// A module's hardware interface.
struct KP_EXPORT InterfaceSummary : lmx60::Record<InterfaceSummary> {
    List<DesignXML::RtlPorts> RtlPorts;
    static const lmx60::Table table;
};

/// The figures of one module.
struct KP_EXPORT Module : lmx60::Record<Module> {
    Leaves<Text> Name;
    List<DesignXML::PerformanceEstimates> PerformanceEstimates;
    List<DesignXML::AreaEstimates> AreaEstimates;
    List<DesignXML::InterfaceSummary> InterfaceSummary;
    static const lmx60::Table table;
};

/// The figures of all modules.
struct KP_EXPORT ModuleInformation : lmx60::Record<ModuleInformation> {
    List<DesignXML::Module> Module;
    static const lmx60::Table table;
};

/// The interfaces that a FIFO channel joins.
struct KP_EXPORT InterfaceList : lmx60::Record<InterfaceList> {
    Leaves<Text> Interface;
    static const lmx60::Table table;
};

/// A FIFO channel between instances; depths are text.
struct KP_EXPORT FIFOInst : lmx60::Record<FIFOInst> {
    lmx60::Value<Text> Name, ParentInst, StaticDepth, RuntimeDepth;
    List<DesignXML::InterfaceList> InterfaceList;
    static const lmx60::Table table;
};

/// All FIFO channels.
struct KP_EXPORT FIFOInformation : lmx60::Record<FIFOInformation> {
    List<DesignXML::FIFOInst> FIFOInst;
    static const lmx60::Table table;
};

/// The document element of a report.
struct KP_EXPORT Profile : lmx60::Record<Profile> {
    static constexpr std::string_view element = "profile";

    List<DesignXML::RTLDesignHierarchy> RTLDesignHierarchy;
    List<DesignXML::ModuleInformation> ModuleInformation;
    List<DesignXML::FIFOInformation> FIFOInformation;
    static const lmx60::Table table;
};

}  // namespace DesignXML
