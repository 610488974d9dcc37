#pragma once

#include "platform/base/Export.h"
#include "platform/xml/Table.h"

#include <cstdint>
#include <string>

/// The records of the synthesis profile: instance hierarchy, figures of each module, FIFO channels. They
/// stand in a report of their own and in a kernel description. Each of these documents has its own types, so
/// that what belongs to one is not taken for a part of the other. Members carry the names of their elements.
///
/// @tparam Document a type that stands for the kind of document
template <class Document>
struct ProfileRecords {
    using Text = std::string;

    struct Instance;

    /// The instances below one.
    struct KP_EXPORT InstListType : lmx60::Record<InstListType, "InstancesList"> {
        lmx60::List<ProfileRecords::Instance> Instance;
        static const lmx60::Table table;
    };

    /// An instance of a module, with the instances in it.
    struct KP_EXPORT Instance : lmx60::Record<Instance, "Instance"> {
        lmx60::Value<Text> InstName, ModuleName, ID;
        lmx60::List<InstListType> InstancesList;
        static const lmx60::Table table;
    };

    /// The module at the top, with the instances in it.
    struct KP_EXPORT TopModule : lmx60::Record<TopModule, "TopModule"> {
        lmx60::Leaves<Text> ModuleName;
        lmx60::List<InstListType> InstancesList;
        static const lmx60::Table table;
    };

    /// The hierarchy of instances.
    struct KP_EXPORT RTLDesignHierarchy : lmx60::Record<RTLDesignHierarchy, "RTLDesignHierarchy"> {
        lmx60::List<ProfileRecords::TopModule> TopModule;
        static const lmx60::Table table;
    };

    /// Clock periods, in the unit that the synthesis step reports.
    struct KP_EXPORT SummaryOfTimingAnalysis
        : lmx60::Record<SummaryOfTimingAnalysis, "SummaryOfTimingAnalysis"> {
        lmx60::Leaves<float> TargetClockPeriod, ClockUncertainty, EstimatedClockPeriod;
        static const lmx60::Table table;
    };

    /// Latencies in cycles and in time, and the pipelining; all texts, exactly as found.
    struct KP_EXPORT SummaryOfOverallLatency
        : lmx60::Record<SummaryOfOverallLatency, "SummaryOfOverallLatency"> {
        lmx60::Leaves<Text> BestCaseLatency, AverageCaseLatency, WorstCaseLatency;
        lmx60::Leaves<Text> BestCaseRealTimeLatency, AverageCaseRealTimeLatency, WorstCaseRealTimeLatency;
        lmx60::Leaves<Text> PipelineInitiationInterval, PipelineType;
        static const lmx60::Table table;
    };

    /// Holds no figures, only how many loops there are; each is an empty element named "Loop*".
    struct KP_EXPORT SummaryOfLoopLatency : lmx60::Record<SummaryOfLoopLatency, "SummaryOfLoopLatency"> {
        lmx60::Markers Loop;
        static const lmx60::Table table;
    };

    /// A module's timing and latency.
    struct KP_EXPORT PerformanceEstimates : lmx60::Record<PerformanceEstimates, "PerformanceEstimates"> {
        lmx60::List<ProfileRecords::SummaryOfTimingAnalysis> SummaryOfTimingAnalysis;
        lmx60::List<ProfileRecords::SummaryOfOverallLatency> SummaryOfOverallLatency;
        lmx60::List<ProfileRecords::SummaryOfLoopLatency> SummaryOfLoopLatency;
        static const lmx60::Table table;
    };

    /// Counts of the device's resources.
    struct KP_EXPORT Resources : lmx60::Record<Resources, "Resources"> {
        lmx60::Leaves<std::uint32_t> BRAM18K, DSP48E, FF, LUT, SLICE, URAM;
        static const lmx60::Table table;
    };

    /// What a module takes of the device.
    struct KP_EXPORT AreaEstimates : lmx60::Record<AreaEstimates, "AreaEstimates"> {
        lmx60::List<ProfileRecords::Resources> Resources;
        static const lmx60::Table table;
    };

    /// A port of a module's hardware interface; `Bits` is its width.
    struct KP_EXPORT RtlPorts : lmx60::Record<RtlPorts, "RtlPorts"> {
        lmx60::Leaves<Text> name, Object, Type, Scope, IOProtocol, IOConfig, Dir;
        lmx60::Leaves<std::uint32_t> Bits;
        lmx60::Leaves<Text> Attribute, CType;
        static const lmx60::Table table;
    };

    /// A module's hardware interface.
    struct KP_EXPORT InterfaceSummary : lmx60::Record<InterfaceSummary, "InterfaceSummary"> {
        lmx60::List<ProfileRecords::RtlPorts> RtlPorts;
        static const lmx60::Table table;
    };

    /// The figures of one module.
    struct KP_EXPORT Module : lmx60::Record<Module, "Module"> {
        lmx60::Leaves<Text> Name;
        lmx60::List<ProfileRecords::PerformanceEstimates> PerformanceEstimates;
        lmx60::List<ProfileRecords::AreaEstimates> AreaEstimates;
        lmx60::List<ProfileRecords::InterfaceSummary> InterfaceSummary;
        static const lmx60::Table table;
    };

    /// The figures of all modules.
    struct KP_EXPORT ModuleInformation : lmx60::Record<ModuleInformation, "ModuleInformation"> {
        lmx60::List<ProfileRecords::Module> Module;
        static const lmx60::Table table;
    };

    /// The interfaces that a FIFO channel joins.
    struct KP_EXPORT InterfaceList : lmx60::Record<InterfaceList, "InterfaceList"> {
        lmx60::Leaves<Text> Interface;
        static const lmx60::Table table;
    };

    /// A FIFO channel between instances; depths are text.
    struct KP_EXPORT FIFOInst : lmx60::Record<FIFOInst, "FIFOInst"> {
        lmx60::Value<Text> Name, ParentInst, StaticDepth, RuntimeDepth;
        lmx60::List<ProfileRecords::InterfaceList> InterfaceList;
        static const lmx60::Table table;
    };

    /// All FIFO channels.
    struct KP_EXPORT FIFOInformation : lmx60::Record<FIFOInformation, "FIFOInformation"> {
        lmx60::List<ProfileRecords::FIFOInst> FIFOInst;
        static const lmx60::Table table;
    };

    /// The document element of a report.
    struct KP_EXPORT Profile : lmx60::Record<Profile, "profile"> {
        lmx60::List<ProfileRecords::RTLDesignHierarchy> RTLDesignHierarchy;
        lmx60::List<ProfileRecords::ModuleInformation> ModuleInformation;
        lmx60::List<ProfileRecords::FIFOInformation> FIFOInformation;
        static const lmx60::Table table;
    };
};

namespace DesignXML {
struct KP_EXPORT Document;
}
namespace KernelXML {
struct KP_EXPORT Document;
}
extern template struct KP_EXPORT ProfileRecords<DesignXML::Document>;
extern template struct KP_EXPORT ProfileRecords<KernelXML::Document>;

/// The records of a report.
namespace DesignXML {

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

}  // namespace DesignXML
