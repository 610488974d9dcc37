#include "cli/ShowOutput.h"
#include "cli/TextPage.h"
#include "platform/files/DisplayText.h"

#include <algorithm>

namespace cli {
namespace {

using namespace kfab::overview;
using display::displayed;

constexpr std::size_t barWidth = 10;

void showTiming(TextPage& page, const Timing& timing) {
    const Statement statement = timingStatement(timing);
    page.field("Timing", statement.text, colourOf(statement.tone));
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
    page.field("Pipeline", pipelineText(latency));
}

/// Which module takes most of what is taken.
void showLargest(TextPage& page, const Report& report) {
    for (const ResourceKind& kind : resourceKinds)
        if (const std::string largest = largestText(report, kind); !largest.empty())
            return page.field(std::string("Most ") + kind.name, largest);
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
            row.push_back({countText(count)});
            if (kind == 0)
                row.push_back({page.style().bar(
                    shareOf(count, top ? top->resources.*resources[kind].count : none), barWidth)});
        }
        row.push_back(module ? cellOf(timingHeadline(module->timing)) : TableCell{"-"});
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
        table.add({{displayed(fifo.name)},
                   {displayed(fifo.parent)},
                   {displayed(fifo.staticDepth)},
                   {displayed(fifo.runtimeDepth)},
                   {listText(fifo.ends)}});
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
    showLargest(page, report);
    showInstances(page, report);
    showFifos(page, report);
}

}  // namespace cli
