#pragma once

#include "containers/design/ProfileRecords.h"

/// Copies the profile of one document to another: each operation appends to the target a copy of every child
/// of one kind that the source has, in document order. Nothing is rewritten or left out but the entries of
/// loop latencies: each SummaryOfLoopLatency arrives empty.
///
/// @tparam Reader the reader of the source document. The operations take the one that the source came from.
template <class Reader>
class ProfileCopy {
public:
    static void addRTLDesignHierarchy(const Reader& reader, const DesignXML::Profile& source,
                                      DesignXML::Profile& target) {
        append(source.RTLDesignHierarchy, target.RTLDesignHierarchy,
               [&](const auto& from, auto& to) { addTopModule(reader, from, to); });
    }

    static void addTopModule(const Reader&, const DesignXML::RTLDesignHierarchy& source,
                             DesignXML::RTLDesignHierarchy& target) {
        append(source.TopModule, target.TopModule, [](const auto& from, auto& to) {
            to.ModuleName = from.ModuleName;
            append(from.InstancesList, to.InstancesList, addInstances);
        });
    }

    static void addInstances(const DesignXML::InstListType& source, DesignXML::InstListType& target) {
        append(source.Instance, target.Instance, [](const auto& from, auto& to) {
            to.InstName = from.InstName;
            to.ModuleName = from.ModuleName;
            to.ID = from.ID;
            append(from.InstancesList, to.InstancesList, addInstances);
        });
    }

    static void addModuleInformation(const Reader& reader, const DesignXML::Profile& source,
                                     DesignXML::Profile& target) {
        append(source.ModuleInformation, target.ModuleInformation,
               [&](const auto& from, auto& to) { addModule(reader, from, to); });
    }

    static void addModule(const Reader& reader, const DesignXML::ModuleInformation& source,
                          DesignXML::ModuleInformation& target) {
        append(source.Module, target.Module, [&](const auto& from, auto& to) {
            to.Name = from.Name;
            addPerformanceEstimates(reader, from, to);
            addAreaEstimates(reader, from, to);
            addInterfaceSummary(reader, from, to);
        });
    }

    static void addPerformanceEstimates(const Reader& reader, const DesignXML::Module& source,
                                        DesignXML::Module& target) {
        append(source.PerformanceEstimates, target.PerformanceEstimates, [&](const auto& from, auto& to) {
            addSummaryOfTimingAnalysis(reader, from, to);
            addSummaryOfOverallLatency(reader, from, to);
            addSummaryOfLoopLatency(reader, from, to);
        });
    }

    static void addSummaryOfTimingAnalysis(const Reader&, const DesignXML::PerformanceEstimates& source,
                                           DesignXML::PerformanceEstimates& target) {
        append(source.SummaryOfTimingAnalysis, target.SummaryOfTimingAnalysis, whole);
    }

    static void addSummaryOfOverallLatency(const Reader&, const DesignXML::PerformanceEstimates& source,
                                           DesignXML::PerformanceEstimates& target) {
        append(source.SummaryOfOverallLatency, target.SummaryOfOverallLatency, whole);
    }

    static void addSummaryOfLoopLatency(const Reader&, const DesignXML::PerformanceEstimates& source,
                                        DesignXML::PerformanceEstimates& target) {
        append(source.SummaryOfLoopLatency, target.SummaryOfLoopLatency, [](const auto&, auto&) {});
    }

    static void addAreaEstimates(const Reader& reader, const DesignXML::Module& source,
                                 DesignXML::Module& target) {
        append(source.AreaEstimates, target.AreaEstimates,
               [&](const auto& from, auto& to) { addResources(reader, from, to); });
    }

    static void addResources(const Reader&, const DesignXML::AreaEstimates& source,
                             DesignXML::AreaEstimates& target) {
        append(source.Resources, target.Resources, whole);
    }

    static void addInterfaceSummary(const Reader& reader, const DesignXML::Module& source,
                                    DesignXML::Module& target) {
        append(source.InterfaceSummary, target.InterfaceSummary,
               [&](const auto& from, auto& to) { addRtlPorts(reader, from, to); });
    }

    static void addRtlPorts(const Reader&, const DesignXML::InterfaceSummary& source,
                            DesignXML::InterfaceSummary& target) {
        append(source.RtlPorts, target.RtlPorts, whole);
    }

    static void addFIFOInformation(const Reader& reader, const DesignXML::Profile& source,
                                   DesignXML::Profile& target) {
        append(source.FIFOInformation, target.FIFOInformation,
               [&](const auto& from, auto& to) { addFIFOInst(reader, from, to); });
    }

    static void addFIFOInst(const Reader&, const DesignXML::FIFOInformation& source,
                            DesignXML::FIFOInformation& target) {
        append(source.FIFOInst, target.FIFOInst, whole);
    }

protected:
    /// Appends all three parts of a profile.
    static void addProfile(const Reader& reader, const DesignXML::Profile& source,
                           DesignXML::Profile& target) {
        addRTLDesignHierarchy(reader, source, target);
        addModuleInformation(reader, source, target);
        addFIFOInformation(reader, source, target);
    }

private:
    static constexpr auto whole = [](const auto& from, auto& to) { to = from; };

    template <class R, class Fill>
    static void append(const lmx60::List<R>& source, lmx60::List<R>& target, Fill fill) {
        for (const R& from : source)
            fill(from, target.append());
    }
};
