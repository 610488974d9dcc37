#pragma once

#include "containers/design/ProfileRecords.h"
#include "platform/xml/Copy.h"

#include <vector>

/// Copies the profile of one document to another: each operation appends to the target a copy of every child
/// of one kind that the source has, in document order. Nothing is rewritten or left out but the entries of
/// loop latencies: each SummaryOfLoopLatency arrives empty.
///
/// @tparam Reader the reader of the source document, whose get operations hand out the children
/// @tparam From the records of the source document
/// @tparam To the records of the target document
template <class Reader, class From, class To>
class ProfileCopy {
public:
    static void addRTLDesignHierarchy(const Reader& reader, const typename From::Profile& source,
                                      typename To::Profile& target) {
        append(reader.getRTLDesignHierarchy, source, target.RTLDesignHierarchy,
               [&](const auto& from, auto& to) { addTopModule(reader, from, to); });
    }

    static void addTopModule(const Reader& reader, const typename From::RTLDesignHierarchy& source,
                             typename To::RTLDesignHierarchy& target) {
        append(reader.getTopModule, source, target.TopModule, whole);
    }

    static void addInstances(const typename From::InstListType& source, typename To::InstListType& target) {
        for (const auto& from : source.Instance)
            whole(from, target.Instance.append());
    }

    static void addModuleInformation(const Reader& reader, const typename From::Profile& source,
                                     typename To::Profile& target) {
        append(reader.getModuleInformation, source, target.ModuleInformation,
               [&](const auto& from, auto& to) { addModule(reader, from, to); });
    }

    static void addModule(const Reader& reader, const typename From::ModuleInformation& source,
                          typename To::ModuleInformation& target) {
        append(reader.getModule, source, target.Module, [&](const auto& from, auto& to) {
            to.Name = from.Name;
            addPerformanceEstimates(reader, from, to);
            addAreaEstimates(reader, from, to);
            addInterfaceSummary(reader, from, to);
        });
    }

    static void addPerformanceEstimates(const Reader& reader, const typename From::Module& source,
                                        typename To::Module& target) {
        append(reader.getPerformanceEstimates, source, target.PerformanceEstimates,
               [&](const auto& from, auto& to) {
                   addSummaryOfTimingAnalysis(reader, from, to);
                   addSummaryOfOverallLatency(reader, from, to);
                   addSummaryOfLoopLatency(reader, from, to);
               });
    }

    static void addSummaryOfTimingAnalysis(const Reader& reader,
                                           const typename From::PerformanceEstimates& source,
                                           typename To::PerformanceEstimates& target) {
        append(reader.getSummaryOfTimingAnalysis, source, target.SummaryOfTimingAnalysis, whole);
    }

    static void addSummaryOfOverallLatency(const Reader& reader,
                                           const typename From::PerformanceEstimates& source,
                                           typename To::PerformanceEstimates& target) {
        append(reader.getSummaryOfOverallLatency, source, target.SummaryOfOverallLatency, whole);
    }

    static void addSummaryOfLoopLatency(const Reader& reader,
                                        const typename From::PerformanceEstimates& source,
                                        typename To::PerformanceEstimates& target) {
        append(reader.getSummaryOfLoopLatency, source, target.SummaryOfLoopLatency,
               [](const auto&, auto&) {});
    }

    static void addAreaEstimates(const Reader& reader, const typename From::Module& source,
                                 typename To::Module& target) {
        append(reader.getAreaEstimates, source, target.AreaEstimates,
               [&](const auto& from, auto& to) { addResources(reader, from, to); });
    }

    static void addResources(const Reader& reader, const typename From::AreaEstimates& source,
                             typename To::AreaEstimates& target) {
        append(reader.getResources, source, target.Resources, whole);
    }

    static void addInterfaceSummary(const Reader& reader, const typename From::Module& source,
                                    typename To::Module& target) {
        append(reader.getInterfaceSummary, source, target.InterfaceSummary,
               [&](const auto& from, auto& to) { addRtlPorts(reader, from, to); });
    }

    static void addRtlPorts(const Reader& reader, const typename From::InterfaceSummary& source,
                            typename To::InterfaceSummary& target) {
        append(reader.getRtlPorts, source, target.RtlPorts, whole);
    }

    static void addFIFOInformation(const Reader& reader, const typename From::Profile& source,
                                   typename To::Profile& target) {
        append(reader.getFIFOInformation, source, target.FIFOInformation,
               [&](const auto& from, auto& to) { addFIFOInst(reader, from, to); });
    }

    static void addFIFOInst(const Reader& reader, const typename From::FIFOInformation& source,
                            typename To::FIFOInformation& target) {
        append(reader.getFIFOInst, source, target.FIFOInst, whole);
    }

protected:
    /// Appends all three parts of a profile.
    static void addProfile(const Reader& reader, const typename From::Profile& source,
                           typename To::Profile& target) {
        addRTLDesignHierarchy(reader, source, target);
        addModuleInformation(reader, source, target);
        addFIFOInformation(reader, source, target);
    }

private:
    static constexpr auto whole = [](const auto& from, auto& to) { lmx60::copyRecord(from, to); };

    template <class Parent, class Child, class R, class Fill>
    static void append(void (*get)(const Parent&, std::vector<Child>&), const Parent& source,
                       lmx60::List<R>& target, Fill fill) {
        std::vector<Child> children;
        get(source, children);
        for (const Child& child : children)
            fill(child, target.append());
    }
};
