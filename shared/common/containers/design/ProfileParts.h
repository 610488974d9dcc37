#pragma once

#include "containers/design/ProfileRecords.h"

#include <vector>

/// Hands out the parts of a profile: each operation appends copies of one kind of child, in document order.
/// Base of the readers of both documents that carry a profile.
///
/// @tparam Records those of the document
template <class Records>
class ProfileParts {
public:
    // clang-format off
    template <class R> using Out = std::vector<R>&;

    static void getRTLDesignHierarchy(const typename Records::Profile& from, Out<typename Records::RTLDesignHierarchy> out) { copy(from.RTLDesignHierarchy, out); }
    static void getModuleInformation(const typename Records::Profile& from, Out<typename Records::ModuleInformation> out) { copy(from.ModuleInformation, out); }
    static void getFIFOInformation(const typename Records::Profile& from, Out<typename Records::FIFOInformation> out) { copy(from.FIFOInformation, out); }
    static void getTopModule(const typename Records::RTLDesignHierarchy& from, Out<typename Records::TopModule> out) { copy(from.TopModule, out); }
    static void getModule(const typename Records::ModuleInformation& from, Out<typename Records::Module> out) { copy(from.Module, out); }
    static void getPerformanceEstimates(const typename Records::Module& from, Out<typename Records::PerformanceEstimates> out) { copy(from.PerformanceEstimates, out); }
    static void getAreaEstimates(const typename Records::Module& from, Out<typename Records::AreaEstimates> out) { copy(from.AreaEstimates, out); }
    static void getInterfaceSummary(const typename Records::Module& from, Out<typename Records::InterfaceSummary> out) { copy(from.InterfaceSummary, out); }
    static void getSummaryOfTimingAnalysis(const typename Records::PerformanceEstimates& from, Out<typename Records::SummaryOfTimingAnalysis> out) { copy(from.SummaryOfTimingAnalysis, out); }
    static void getSummaryOfOverallLatency(const typename Records::PerformanceEstimates& from, Out<typename Records::SummaryOfOverallLatency> out) { copy(from.SummaryOfOverallLatency, out); }
    static void getSummaryOfLoopLatency(const typename Records::PerformanceEstimates& from, Out<typename Records::SummaryOfLoopLatency> out) { copy(from.SummaryOfLoopLatency, out); }
    static void getResources(const typename Records::AreaEstimates& from, Out<typename Records::Resources> out) { copy(from.Resources, out); }
    static void getRtlPorts(const typename Records::InterfaceSummary& from, Out<typename Records::RtlPorts> out) { copy(from.RtlPorts, out); }
    static void getFIFOInst(const typename Records::FIFOInformation& from, Out<typename Records::FIFOInst> out) { copy(from.FIFOInst, out); }
    // clang-format on

protected:
    template <class R>
    static void copy(const lmx60::List<R>& from, std::vector<R>& out) {
        out.insert(out.end(), from.begin(), from.end());
    }
};
