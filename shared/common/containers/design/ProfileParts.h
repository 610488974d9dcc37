#pragma once

#include "containers/design/ProfileRecords.h"

#include <vector>

/// Hands out the parts of a profile: each operation appends copies of one kind of child, in document order.
/// Base of the readers of both documents that carry a profile.
class ProfileParts {
public:
    // clang-format off
    template <class R> using Out = std::vector<R>&;

    static void getRTLDesignHierarchy(const DesignXML::Profile& from, Out<DesignXML::RTLDesignHierarchy> out) { copy(from.RTLDesignHierarchy, out); }
    static void getModuleInformation(const DesignXML::Profile& from, Out<DesignXML::ModuleInformation> out) { copy(from.ModuleInformation, out); }
    static void getFIFOInformation(const DesignXML::Profile& from, Out<DesignXML::FIFOInformation> out) { copy(from.FIFOInformation, out); }
    static void getTopModule(const DesignXML::RTLDesignHierarchy& from, Out<DesignXML::TopModule> out) { copy(from.TopModule, out); }
    static void getModule(const DesignXML::ModuleInformation& from, Out<DesignXML::Module> out) { copy(from.Module, out); }
    static void getPerformanceEstimates(const DesignXML::Module& from, Out<DesignXML::PerformanceEstimates> out) { copy(from.PerformanceEstimates, out); }
    static void getAreaEstimates(const DesignXML::Module& from, Out<DesignXML::AreaEstimates> out) { copy(from.AreaEstimates, out); }
    static void getInterfaceSummary(const DesignXML::Module& from, Out<DesignXML::InterfaceSummary> out) { copy(from.InterfaceSummary, out); }
    static void getSummaryOfTimingAnalysis(const DesignXML::PerformanceEstimates& from, Out<DesignXML::SummaryOfTimingAnalysis> out) { copy(from.SummaryOfTimingAnalysis, out); }
    static void getSummaryOfOverallLatency(const DesignXML::PerformanceEstimates& from, Out<DesignXML::SummaryOfOverallLatency> out) { copy(from.SummaryOfOverallLatency, out); }
    static void getSummaryOfLoopLatency(const DesignXML::PerformanceEstimates& from, Out<DesignXML::SummaryOfLoopLatency> out) { copy(from.SummaryOfLoopLatency, out); }
    static void getResources(const DesignXML::AreaEstimates& from, Out<DesignXML::Resources> out) { copy(from.Resources, out); }
    static void getRtlPorts(const DesignXML::InterfaceSummary& from, Out<DesignXML::RtlPorts> out) { copy(from.RtlPorts, out); }
    static void getFIFOInst(const DesignXML::FIFOInformation& from, Out<DesignXML::FIFOInst> out) { copy(from.FIFOInst, out); }
    // clang-format on

protected:
    template <class R>
    static void copy(const lmx60::List<R>& from, std::vector<R>& out) {
        out.insert(out.end(), from.begin(), from.end());
    }
};
