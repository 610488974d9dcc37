#include "containers/design/ProfileRecords.h"

using lmx60::child;
using lmx60::Table;

template <class Document>
constinit const Table ProfileRecords<Document>::InstListType::table{
    child<&InstListType::Instance>(),
};

template <class Document>
constinit const Table ProfileRecords<Document>::Instance::table{
    child<&Instance::InstName>("InstName"),
    child<&Instance::ModuleName>("ModuleName"),
    child<&Instance::ID>("ID"),
    child<&Instance::InstancesList>(),
};

template <class Document>
constinit const Table ProfileRecords<Document>::TopModule::table{
    child<&TopModule::ModuleName>("ModuleName"),
    child<&TopModule::InstancesList>(),
};

template <class Document>
constinit const Table ProfileRecords<Document>::RTLDesignHierarchy::table{
    child<&RTLDesignHierarchy::TopModule>(),
};

template <class Document>
constinit const Table ProfileRecords<Document>::SummaryOfTimingAnalysis::table{
    child<&SummaryOfTimingAnalysis::TargetClockPeriod>("TargetClockPeriod"),
    child<&SummaryOfTimingAnalysis::ClockUncertainty>("ClockUncertainty"),
    child<&SummaryOfTimingAnalysis::EstimatedClockPeriod>("EstimatedClockPeriod"),
};

template <class Document>
constinit const Table ProfileRecords<Document>::SummaryOfOverallLatency::table{
    child<&SummaryOfOverallLatency::BestCaseLatency>("Best-caseLatency"),
    child<&SummaryOfOverallLatency::AverageCaseLatency>("Average-caseLatency"),
    child<&SummaryOfOverallLatency::WorstCaseLatency>("Worst-caseLatency"),
    child<&SummaryOfOverallLatency::BestCaseRealTimeLatency>("Best-caseRealTimeLatency"),
    child<&SummaryOfOverallLatency::AverageCaseRealTimeLatency>("Average-caseRealTimeLatency"),
    child<&SummaryOfOverallLatency::WorstCaseRealTimeLatency>("Worst-caseRealTimeLatency"),
    child<&SummaryOfOverallLatency::PipelineInitiationInterval>("PipelineInitiationInterval"),
    child<&SummaryOfOverallLatency::PipelineType>("PipelineType"),
};

template <class Document>
constinit const Table ProfileRecords<Document>::SummaryOfLoopLatency::table{
    child<&SummaryOfLoopLatency::Loop>("Loop*"),
};

template <class Document>
constinit const Table ProfileRecords<Document>::PerformanceEstimates::table{
    child<&PerformanceEstimates::SummaryOfTimingAnalysis>(),
    child<&PerformanceEstimates::SummaryOfOverallLatency>(),
    child<&PerformanceEstimates::SummaryOfLoopLatency>(),
};

template <class Document>
constinit const Table ProfileRecords<Document>::Resources::table{
    child<&Resources::BRAM18K>("BRAM_18K"),
    child<&Resources::DSP48E>("DSP48E"),
    child<&Resources::FF>("FF"),
    child<&Resources::LUT>("LUT"),
    child<&Resources::SLICE>("SLICE"),
    child<&Resources::URAM>("URAM"),
};

template <class Document>
constinit const Table ProfileRecords<Document>::AreaEstimates::table{
    child<&AreaEstimates::Resources>(),
};

template <class Document>
constinit const Table ProfileRecords<Document>::RtlPorts::table{
    child<&RtlPorts::name>("name"),
    child<&RtlPorts::Object>("Object"),
    child<&RtlPorts::Type>("Type"),
    child<&RtlPorts::Scope>("Scope"),
    child<&RtlPorts::IOProtocol>("IOProtocol"),
    child<&RtlPorts::IOConfig>("IOConfig"),
    child<&RtlPorts::Dir>("Dir"),
    child<&RtlPorts::Bits>("Bits"),
    child<&RtlPorts::Attribute>("Attribute"),
    child<&RtlPorts::CType>("CType"),
};

template <class Document>
constinit const Table ProfileRecords<Document>::InterfaceSummary::table{
    child<&InterfaceSummary::RtlPorts>(),
};

template <class Document>
constinit const Table ProfileRecords<Document>::Module::table{
    child<&Module::Name>("Name"),
    child<&Module::PerformanceEstimates>(),
    child<&Module::AreaEstimates>(),
    child<&Module::InterfaceSummary>(),
};

template <class Document>
constinit const Table ProfileRecords<Document>::ModuleInformation::table{
    child<&ModuleInformation::Module>(),
};

template <class Document>
constinit const Table ProfileRecords<Document>::InterfaceList::table{
    child<&InterfaceList::Interface>("Interface"),
};

template <class Document>
constinit const Table ProfileRecords<Document>::FIFOInst::table{
    child<&FIFOInst::Name>("Name"),
    child<&FIFOInst::ParentInst>("ParentInst"),
    child<&FIFOInst::StaticDepth>("StaticDepth"),
    child<&FIFOInst::RuntimeDepth>("RuntimeDepth"),
    child<&FIFOInst::InterfaceList>(),
};

template <class Document>
constinit const Table ProfileRecords<Document>::FIFOInformation::table{
    child<&FIFOInformation::FIFOInst>(),
};

template <class Document>
constinit const Table ProfileRecords<Document>::Profile::table{
    child<&Profile::RTLDesignHierarchy>(),
    child<&Profile::ModuleInformation>(),
    child<&Profile::FIFOInformation>(),
};

template struct ProfileRecords<DesignXML::Document>;
template struct ProfileRecords<KernelXML::Document>;
