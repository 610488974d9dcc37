#include "containers/overview/Parts.h"
#include "platform/xml/LeafText.h"

#include <algorithm>
#include <unordered_map>

namespace kfab::overview {
namespace {

using lmx60::Element;

std::string textOf(Element parent, std::string_view child) {
    const Element element = parent.child(child);
    return element ? std::string(element.text()) : std::string();
}

template <class Use>
void forEach(Element parent, std::string_view name, const Use& use) {
    for (const Element child : parent.children())
        if (child.name() == name) use(child);
}

Resources::Count countIn(Element element) {
    std::uint32_t count = 0;
    if (lmx60::LeafText<std::uint32_t>::parse(element.text(), count) != lmx60::ErrorKind::None) return {};
    return count;
}

std::optional<Latency> latencyOf(Element latency) {
    if (!latency) return {};
    const auto caseOf = [&](const std::string& which) {
        return Latency::Case{textOf(latency, which + "-caseLatency"),
                             textOf(latency, which + "-caseRealTimeLatency")};
    };
    return Latency{.best = caseOf("Best"),
                   .average = caseOf("Average"),
                   .worst = caseOf("Worst"),
                   .interval = textOf(latency, "PipelineInitiationInterval"),
                   .pipeline = textOf(latency, "PipelineType")};
}

Module moduleOf(Element module) {
    const Element performance = module.child("PerformanceEstimates");
    Module read{.name = textOf(module, "Name"),
                .timing = lint::timingOf(module),
                .latency = latencyOf(performance.child("SummaryOfOverallLatency"))};
    const Element resources = module.child("AreaEstimates").child("Resources");
    for (const ResourceKind& kind : resourceKinds)
        if (const Element count = resources.child(kind.element)) read.resources.*kind.count = countIn(count);
    return read;
}

Fifo fifoOf(Element fifo) {
    Fifo read{.name = textOf(fifo, "Name"),
              .parent = textOf(fifo, "ParentInst"),
              .staticDepth = textOf(fifo, "StaticDepth"),
              .runtimeDepth = textOf(fifo, "RuntimeDepth")};
    forEach(fifo, "InterfaceList", [&](Element list) {
        forEach(list, "Interface", [&](Element end) { read.ends.emplace_back(end.text()); });
    });
    return read;
}

/// Reads the tree of instances; it is as deep as a document may be.
class Instances {
public:
    explicit Instances(Report& report) : report_(report) {
        for (std::size_t at = 0; at < report.modules.size(); ++at)
            modules_.emplace(report.modules[at].name, at);
    }

    void add(Element instance, std::size_t level) {
        Instance read{.level = level,
                      .name = textOf(instance, "InstName"),
                      .moduleName = textOf(instance, "ModuleName"),
                      .id = textOf(instance, "ID")};
        if (const auto module = modules_.find(read.moduleName); module != modules_.end())
            read.module = module->second;
        report_.instances.push_back(std::move(read));
        forEach(instance, "InstancesList", [&](Element list) {
            forEach(list, "Instance", [&](Element below) { add(below, level + 1); });
        });
    }

private:
    Report& report_;
    std::unordered_map<std::string, std::size_t> modules_;  // the first of each name
};

}  // namespace

std::optional<Report> reportOf(Element profile) {
    if (!profile) return {};
    Report report;
    forEach(profile, "ModuleInformation", [&](Element information) {
        forEach(information, "Module", [&](Element module) { report.modules.push_back(moduleOf(module)); });
    });
    Instances instances(report);
    forEach(profile, "RTLDesignHierarchy", [&](Element hierarchy) {
        forEach(hierarchy, "TopModule", [&](Element top) { instances.add(top, 0); });
    });
    forEach(profile, "FIFOInformation", [&](Element information) {
        forEach(information, "FIFOInst", [&](Element fifo) { report.fifos.push_back(fifoOf(fifo)); });
    });
    return report;
}

const Module* Report::top() const {
    if (instances.empty() || !instances.front().module) return nullptr;
    return &modules[*instances.front().module];
}

const Module* Report::largest(Resources::Count Resources::*count) const {
    const Module* largest = nullptr;
    std::uint64_t most = 0;
    for (const Instance& instance : instances) {
        if (instance.level == 0 || !instance.module) continue;
        const Module& module = modules[*instance.module];
        const std::uint64_t taken = (module.resources.*count).value_or(0);
        if (taken > most) largest = &module;
        most = std::max(most, taken);
    }
    return largest;
}

}  // namespace kfab::overview
