#include "containers/page/Bars.h"
#include "containers/page/Parts.h"
#include "containers/page/Table.h"

namespace kfab::page {
namespace {

using namespace overview;

void addTimingPart(Markup& out, const Timing& timing) {
    out.add("h3", "Timing");
    const Statement statement = timingStatement(timing);
    out.add("p", {{"class", classOf(statement.tone)}}, statement.text);
    addTiming(out, timing);
}

void addLatency(Markup& out, const Latency& latency) {
    out.add("h3", "Latency");
    {
        Table table(out, "From the start of the kernel to its end",
                    {words("Case"), numbers("Cycles"), numbers("Time")});
        table.row({{"best"}, {latency.best.cycles}, {latency.best.time}});
        table.row({{"average"}, {latency.average.cycles}, {latency.average.time}});
        table.row({{"worst"}, {latency.worst.cycles}, {latency.worst.time}});
    }
    if (const std::string pipeline = pipelineText(latency); !pipeline.empty())
        out.add("p", "Pipeline: " + pipeline);
}

void addResources(Markup& out, const Report& report) {
    const Module* top = report.top();
    const Resources whole = top == nullptr ? Resources() : top->resources;
    out.add("h3", "Resources");
    Table table(
        out, "What the kernel takes, and which module below the top takes most of it",
        {words("Resource"), numbers("Kernel"), names("Most in module"), numbers("Takes"), words("Share")});
    for (const ResourceKind& kind : resourceKinds) {
        const Module* largest = report.largest(kind.count);
        const Resources::Count& all = whole.*kind.count;
        if (largest == nullptr && !all) continue;
        if (largest == nullptr) {
            table.row({{kind.name}, {countText(all)}, {"-"}, {"-"}, {"-"}});
            continue;
        }
        const Resources::Count& most = largest->resources.*kind.count;
        const double share = shareOf(most, all);
        const Cell bar = all.value_or(0) > 0 ? Cell{.text = percentText(share), .share = share} : Cell{"-"};
        table.row({{kind.name}, {countText(all)}, {largest->name}, {countText(most)}, bar});
    }
}

void addFifos(Markup& out, const Report& report) {
    if (report.fifos.empty()) return;
    out.add("h3", "FIFOs");
    Table table(out, "Depths as built and as running, and what each one lies between",
                {{"Name"}, names("In"), numbers("Depth"), numbers("Running"), {"Between"}});
    for (const Fifo& fifo : report.fifos)
        table.row(
            {{fifo.name}, {fifo.parent}, {fifo.staticDepth}, {fifo.runtimeDepth}, {listText(fifo.ends)}});
}

}  // namespace

void addReport(Markup& out, const Kernel& kernel) {
    if (!kernel.report) {
        out.add("h3", "Figures of synthesis");
        return out.add("p", "none: the description carries no report");
    }
    if (const Module* top = topOf(kernel)) {
        addTimingPart(out, top->timing);
        if (top->latency) addLatency(out, *top->latency);
    } else {
        out.add("h3", "Timing");
        out.add("p", "The report says nothing of the module at the top.");
    }
    addResources(out, *kernel.report);
    addInstances(out, *kernel.report);
    addFifos(out, *kernel.report);
}

}  // namespace kfab::page
