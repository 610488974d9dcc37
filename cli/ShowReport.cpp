#include "cli/DisplayText.h"
#include "cli/ShowOutput.h"
#include "cli/TextPage.h"

#include <algorithm>
#include <cmath>

namespace cli {
namespace {

using namespace kfab::overview;

constexpr std::size_t barWidth = 10;

std::string percentText(double share) {
    return std::to_string(std::lround(share * 100)) + "%";
}

double share(const Resources::Count& part, const Resources::Count& whole) {
    return whole.value_or(0) == 0 ? 0 : static_cast<double>(part.value_or(0)) / static_cast<double>(*whole);
}

void showTiming(TextPage& page, const Timing& timing) {
    const std::optional<bool> isMet = timing.isMet();
    if (!isMet) return page.field("Timing", "not told");
    std::string text = (*isMet ? "met: needs " : "MISSED: needs ") + decimalText(*timing.estimated) + " of " +
                       decimalText(timing.available());
    if (timing.uncertainty)
        text += ", target " + decimalText(*timing.target) + " less uncertainty " +
                decimalText(*timing.uncertainty);
    page.field("Timing", text, *isMet ? Colour::Good : Colour::Bad);
}

/// A number of cycles, or the text that is none.
std::string cyclesText(const std::string& text) {
    const bool isNumber = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? text + (text == "1" ? " cycle" : " cycles") : displayed(text);
}

std::string caseText(const char* name, const Latency::Case& latency) {
    if (latency.cycles.empty() && latency.time.empty()) return {};
    std::string text = std::string(name) + " " + cyclesText(latency.cycles);
    if (latency.time != latency.cycles && !latency.time.empty()) text += ", " + displayed(latency.time);
    return text;
}

void showLatency(TextPage& page, const Latency& latency) {
    std::string cases;
    for (const std::string& text : {caseText("best", latency.best), caseText("average", latency.average),
                                    caseText("worst", latency.worst)})
        if (!text.empty()) cases += (cases.empty() ? "" : "; ") + text;
    page.field("Latency", cases);
    std::string pipeline;
    if (!latency.interval.empty()) pipeline = "next run after " + cyclesText(latency.interval);
    if (!latency.pipeline.empty())
        pipeline += (pipeline.empty() ? "type " : "; type ") + displayed(latency.pipeline);
    page.field("Pipeline", pipeline);
}

std::string takenText(const Resources& resources) {
    std::string text;
    for (const ResourceKind& kind : resourceKinds)
        if (const Resources::Count& count = resources.*kind.count)
            text += (text.empty() ? "" : ", ") + std::to_string(*count) + " " + kind.name;
    return text;
}

/// Which module takes most of what is taken.
void showLargest(TextPage& page, const Report& report, const Resources& whole) {
    for (const ResourceKind& kind : resourceKinds) {
        const Module* largest = report.largest(kind.count);
        if (largest == nullptr) continue;
        const Resources::Count& count = largest->resources.*kind.count;
        std::string text = displayed(largest->name) + ", " + std::to_string(*count);
        if ((whole.*kind.count).value_or(0) > 0)
            text += " of " + std::to_string(*(whole.*kind.count)) + " (" +
                    percentText(share(count, whole.*kind.count)) + ")";
        page.field(std::string("Most ") + kind.name, text);
        return;
    }
}

/// What stands before the name of each instance to make it a tree.
std::vector<std::string> branches(const std::vector<Instance>& instances, const Style& style) {
    constexpr std::size_t deepest = 8;
    std::vector<bool> isLast(instances.size());
    std::vector<bool> isFollowed;  // by level: whether an instance of it comes later under the same one
    for (std::size_t at = instances.size(); at-- > 0;) {
        isFollowed.resize(instances[at].level + 1);
        isLast[at] = !isFollowed.back();
        isFollowed.back() = true;
    }
    std::vector<std::string> leads;
    std::vector<bool> isOpen;
    for (std::size_t at = 0; at < instances.size(); ++at) {
        const std::size_t level = instances[at].level;
        isOpen.resize(level + 1);
        isOpen[level] = !isLast[at];
        std::string lead;
        for (std::size_t above = 1; above < std::min(level, deepest); ++above)
            lead += isOpen[above] ? style.passing() : "  ";
        if (level > deepest)
            lead += "[" + std::to_string(level) + "] ";
        else if (level > 0)
            lead += isLast[at] ? style.lastBranch() : style.branch();
        leads.push_back(std::move(lead));
    }
    return leads;
}

std::vector<const Module*> modulesOf(const Report& report) {
    std::vector<const Module*> modules;
    for (const Module& module : report.modules)
        modules.push_back(&module);
    return modules;
}

void showInstances(TextPage& page, const Report& report) {
    if (report.instances.empty()) return;
    page.heading("Instances, and what their modules take");
    const std::vector<ResourceKind> resources = takenResources(modulesOf(report));
    std::vector<TableColumn> columns{{.title = "Instance", .least = 12},
                                     {.title = "Module", .least = 10, .rank = 2}};
    for (std::size_t at = 0; at < resources.size(); ++at) {
        columns.push_back(
            {.title = resources[at].name, .isNumber = true, .rank = at == 0 ? 0 : static_cast<int>(4 + at)});
        if (at == 0) columns.push_back({.title = "", .rank = 1});
    }
    columns.push_back({.title = "Timing", .rank = 3});
    TextTable table(columns);
    const Module* top = report.top();
    const std::vector<std::string> leads = branches(report.instances, page.style());
    for (std::size_t at = 0; at < report.instances.size(); ++at) {
        const Instance& instance = report.instances[at];
        const Module* module = instance.module ? &report.modules[*instance.module] : nullptr;
        const std::string& name = instance.level == 0 ? instance.moduleName : instance.name;
        std::vector<TableCell> row{{displayed(name), Colour::None, leads[at]},
                                   {instance.level == 0 ? "" : displayed(instance.moduleName)}};
        for (std::size_t kind = 0; kind < resources.size(); ++kind) {
            const Resources::Count none;
            const Resources::Count& count = module ? module->resources.*resources[kind].count : none;
            row.push_back(countCell(count));
            if (kind == 0)
                row.push_back({page.style().bar(
                    share(count, top ? top->resources.*resources[kind].count : none), barWidth)});
        }
        row.push_back(module ? timingCell(module->timing) : TableCell{"-"});
        table.add(std::move(row));
    }
    page.table(table);
}

void showFifos(TextPage& page, const Report& report) {
    if (report.fifos.empty()) return;
    page.heading("FIFOs");
    TextTable table({{.title = "Name", .least = 8},
                     {.title = "In", .least = 8, .rank = 1},
                     {.title = "Depth", .isNumber = true, .least = 5},
                     {.title = "Running", .isNumber = true, .least = 7, .rank = 2},
                     {.title = "Between", .least = 14}});
    for (const Fifo& fifo : report.fifos) {
        std::string ends;
        for (const std::string& end : fifo.ends)
            ends += (ends.empty() ? "" : ", ") + displayed(end);
        table.add({{displayed(fifo.name)},
                   {displayed(fifo.parent)},
                   {displayed(fifo.staticDepth)},
                   {displayed(fifo.runtimeDepth)},
                   {ends}});
    }
    page.table(table);
}

}  // namespace

void showReport(TextPage& page, const std::optional<Report>& told) {
    page.heading("Figures of synthesis");
    if (!told) return page.paragraph("none: the description carries no report");
    const Report& report = *told;
    const Module* top = report.top();
    if (top != nullptr) {
        showTiming(page, top->timing);
        if (top->latency) showLatency(page, *top->latency);
        page.field("Takes", takenText(top->resources));
    } else {
        page.paragraph("The report says nothing of the module at the top.");
    }
    showLargest(page, report, top == nullptr ? Resources() : top->resources);
    showInstances(page, report);
    showFifos(page, report);
}

}  // namespace cli
