#include "containers/design/ProfileRecords.h"

namespace DesignXML {

using lmx60::child;
using lmx60::Table;

constinit const Table InstListType::table{
    child<&InstListType::Instance>("Instance"),
};

constinit const Table Instance::table{
    child<&Instance::InstName>("InstName"),
    child<&Instance::ModuleName>("ModuleName"),
    child<&Instance::ID>("ID"),
    child<&Instance::InstancesList>("InstancesList"),
};

constinit const Table TopModule::table{
    child<&TopModule::ModuleName>("ModuleName"),
    child<&TopModule::InstancesList>("InstancesList"),
};

constinit const Table RTLDesignHierarchy::table{
    child<&RTLDesignHierarchy::TopModule>("TopModule"),
};

constinit const Table SummaryOfTimingAnalysis::table{
    child<&SummaryOfTimingAnalysis::TargetClockPeriod>("TargetClockPeriod"),
    child<&SummaryOfTimingAnalysis::ClockUncertainty>("ClockUncertainty"),
    child<&SummaryOfTimingAnalysis::EstimatedClockPeriod>("EstimatedClockPeriod"),
};

constinit const Table SummaryOfOverallLatency::table{
    child<&SummaryOfOverallLatency::BestCaseLatency>("Best-caseLatency"),
    child<&SummaryOfOverallLatency::AverageCaseLatency>("Average-caseLatency"),
    child<&SummaryOfOverallLatency::WorstCaseLatency>("Worst-caseLatency"),
    child<&SummaryOfOverallLatency::BestCaseRealTimeLatency>("Best-caseRealTimeLatency"),
    child<&SummaryOfOverallLatency::AverageCaseRealTimeLatency>("Average-caseRealTimeLatency"),
    child<&SummaryOfOverallLatency::WorstCaseRealTimeLatency>("Worst-caseRealTimeLatency"),
    child<&SummaryOfOverallLatency::PipelineInitiationInterval>("PipelineInitiationInterval"),
    child<&SummaryOfOverallLatency::PipelineType>("PipelineType"),
};

constinit const Table SummaryOfLoopLatency::table{
    child<&SummaryOfLoopLatency::Loop>("Loop*"),
};

constinit const Table PerformanceEstimates::table{
    child<&PerformanceEstimates::SummaryOfTimingAnalysis>("SummaryOfTimingAnalysis"),
    child<&PerformanceEstimates::SummaryOfOverallLatency>("SummaryOfOverallLatency"),
    child<&PerformanceEstimates::SummaryOfLoopLatency>("SummaryOfLoopLatency"),
};

constinit const Table Resources::table{
    child<&Resources::BRAM18K>("BRAM_18K"),
    child<&Resources::DSP48E>("DSP48E"),
    child<&Resources::FF>("FF"),
    child<&Resources::LUT>("LUT"),
    child<&Resources::SLICE>("SLICE"),
    child<&Resources::URAM>("URAM"),
};

constinit const Table AreaEstimates::table{
    child<&AreaEstimates::Resources>("Resources"),
};

constinit const Table RtlPorts::table{
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

constinit const Table InterfaceSummary::table{
    child<&InterfaceSummary::RtlPorts>("RtlPorts"),
};

constinit const Table Module::table{
    child<&Module::Name>("Name"),
    child<&Module::PerformanceEstimates>("PerformanceEstimates"),
    child<&Module::AreaEstimates>("AreaEstimates"),
    child<&Module::InterfaceSummary>("InterfaceSummary"),
};

constinit const Table ModuleInformation::table{
    child<&ModuleInformation::Module>("Module"),
};

constinit const Table InterfaceList::table{
    child<&InterfaceList::Interface>("Interface"),
};

constinit const Table FIFOInst::table{
    child<&FIFOInst::Name>("Name"),
    child<&FIFOInst::ParentInst>("ParentInst"),
    child<&FIFOInst::StaticDepth>("StaticDepth"),
    child<&FIFOInst::RuntimeDepth>("RuntimeDepth"),
    child<&FIFOInst::InterfaceList>("InterfaceList"),
};

constinit const Table FIFOInformation::table{
    child<&FIFOInformation::FIFOInst>("FIFOInst"),
};

constinit const Table Profile::table{
    child<&Profile::RTLDesignHierarchy>("RTLDesignHierarchy"),
    child<&Profile::ModuleInformation>("ModuleInformation"),
    child<&Profile::FIFOInformation>("FIFOInformation"),
};

}  // namespace DesignXML
