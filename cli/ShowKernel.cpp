#include "cli/LintOutput.h"
#include "cli/ShowOutput.h"
#include "cli/TextPage.h"
#include "containers/kernel/NumberText.h"
#include "platform/files/DisplayText.h"

#include <algorithm>

namespace cli {
namespace {

using namespace kfab::overview;
using display::displayed;

void showIdentity(TextPage& page, const Kernel& kernel) {
    page.title("Kernel", displayed(kernel.name));
    if (kernel.problem.empty()) {
        page.name("VLNV", displayed(kernel.vlnv));
        page.field("Language", displayed(kernel.language));
        page.field("Control", controlText(kernel));
        page.field("Debug", displayed(kernel.debug));
    }
    if (kernel.entry) {
        page.field("Flows", listText(kernel.entry->flows));
        page.name("IP", kernel.entry->ip.empty() ? "none" : displayed(kernel.entry->ip));
        if (kernel.entry->topIp != ".") page.name("Top IP", displayed(kernel.entry->topIp));
        page.field("Project", displayed(kernel.entry->project));
    }
    page.name("Described", displayed(kernel.document));
    if (!kernel.problem.empty()) page.field("UNREADABLE", displayed(kernel.problem), Colour::Bad);
}

void showPorts(TextPage& page, const Kernel& kernel) {
    page.heading("Ports");
    if (kernel.ports.empty()) return page.paragraph("none");
    TextTable table({{.title = "Name", .least = 12},
                     {.title = "Mode", .least = 6},
                     {.title = "Kind", .least = 11},
                     {.title = "Bits", .isNumber = true, .rank = 1},
                     {.title = "Range", .isNumber = true, .rank = 2},
                     {.title = "Base", .isNumber = true, .rank = 3}});
    for (const kfab::lint::PortFacts& port : kernel.ports)
        table.add({{displayed(port.name)},
                   {displayed(port.mode)},
                   {displayed(port.type)},
                   {plainText(port.dataWidth)},
                   {sizeText(port.range)},
                   {addressText(port.base)}});
    page.table(table);
}

void showMap(TextPage& page, const AddressMap& map) {
    page.heading("Address map of " + displayed(map.port) + (map.range ? ", " + sizeText(*map.range) : ""));
    const bool isWrong = std::any_of(map.stretches.begin(), map.stretches.end(),
                                     [](const Stretch& stretch) { return !wrongText(stretch).empty(); });
    TextTable table({{.title = "Offset", .isNumber = true},
                     {.title = "Size", .isNumber = true, .rank = 1},
                     {.title = "Argument", .least = 8},
                     {.title = "Holds"},
                     {.title = "Data via", .least = 8},
                     {.title = isWrong ? "Wrong" : ""}});
    for (const Stretch& stretch : map.stretches) {
        const Colour colour = stretch.use == Stretch::Use::Gap ? Colour::Quiet : Colour::None;
        table.add({{kfab::kernel::hexadecimal(stretch.offset), colour},
                   {sizeText(stretch.size), colour},
                   {displayed(stretch.argument)},
                   {useText(stretch.use), colour},
                   {displayed(stretch.through)},
                   {wrongText(stretch), Colour::Bad}});
    }
    page.table(table);
}

void showArguments(TextPage& page, const Kernel& kernel) {
    page.heading("Arguments");
    if (kernel.arguments.empty()) return page.paragraph("none");
    TextTable table({{.title = "Id", .isNumber = true, .rank = 4},
                     {.title = "Name", .least = 8},
                     {.title = "Type", .least = 8, .rank = 3},
                     {.title = "Passed"},
                     {.title = "Port", .least = 8},
                     {.title = "Offset", .isNumber = true, .rank = 1},
                     {.title = "Size", .isNumber = true, .rank = 2}});
    for (const Argument& argument : kernel.arguments)
        table.add({{plainText(argument.id)},
                   {displayed(argument.name)},
                   {displayed(argument.type)},
                   {passingText(argument.passing)},
                   {displayed(argument.port)},
                   {addressText(argument.offset)},
                   {sizeText(argument.size)}});
    page.table(table);
}

void showFiles(TextPage& page, const Kernel& kernel) {
    if (kernel.files.empty()) return;
    page.heading("Files: " + filesText(kernel.files));
    TextTable table(
        {{.title = "Part", .rank = 1}, {.title = "Size", .isNumber = true}, {.title = "Name", .least = 20}});
    for (const File& file : kernel.files)
        table.add({{file.part}, {sizeText(file.size)}, {displayed(file.name)}});
    page.table(table);
}

void showFindings(TextPage& page, const kfab::lint::Outcome& outcome) {
    using kfab::lint::Severity;
    page.heading("Lint");
    if (outcome.findings.empty() && outcome.unchecked.empty()) page.paragraph("clean", Colour::Good);
    page.each(outcome.findings, [&](const kfab::lint::Finding& finding) {
        const Severity severity = finding.rule->severity;
        page.paragraph(displayed(lintLine(finding, severityText(severity))),
                       severity == Severity::Error ? Colour::Bad : Colour::Doubtful);
    });
    page.each(outcome.unchecked, [&](const kfab::lint::Unchecked& unchecked) {
        page.paragraph("unchecked: " + displayed(unchecked.reason) + " [" + unchecked.code + "]",
                       Colour::Quiet);
    });
}

}  // namespace

void showKernel(TextPage& page, const Kernel& kernel) {
    showIdentity(page, kernel);
    if (kernel.problem.empty()) {
        showPorts(page, kernel);
        page.each(kernel.maps, [&](const AddressMap& map) { showMap(page, map); });
        showArguments(page, kernel);
        showReport(page, kernel.report);
    }
    showFiles(page, kernel);
    if (kernel.problem.empty()) showFindings(page, kernel.findings);
}

}  // namespace cli
