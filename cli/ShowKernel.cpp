#include "cli/DisplayText.h"
#include "cli/ShowOutput.h"
#include "cli/TextPage.h"
#include "containers/kernel/NumberText.h"

#include <algorithm>
#include <numeric>

namespace cli {
namespace {

using namespace kfab::overview;

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : ", ") + displayed(text);
    return all;
}

/// A number in a form, or the text that is none.
template <class Form>
std::string numberText(const NumberText& number, const Form& form) {
    return number.value ? form(*number.value) : displayed(number.text);
}

std::string plainText(const NumberText& number) {
    return numberText(number, [](std::uint64_t value) { return std::to_string(value); });
}

std::string controlText(const Kernel& kernel) {
    std::string text = kernel.protocol.empty() ? "protocol not stated" : displayed(kernel.protocol);
    if (kernel.interrupt == "true") return text + ", interrupt";
    if (kernel.interrupt == "false") return text + ", no interrupt";
    return kernel.interrupt.empty() ? text : text + ", interrupt '" + displayed(kernel.interrupt) + "'";
}

void showIdentity(TextPage& page, const Kernel& kernel) {
    page.title("Kernel", displayed(kernel.name));
    if (kernel.problem.empty()) {
        page.name("VLNV", displayed(kernel.vlnv));
        page.field("Language", displayed(kernel.language));
        page.field("Control", controlText(kernel));
        page.field("Debug", displayed(kernel.debug));
    }
    if (kernel.entry) {
        page.field("Flows", joined(kernel.entry->flows));
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
                   {numberText(port.range, sizeText)},
                   {numberText(port.base, kfab::kernel::hexadecimal)}});
    page.table(table);
}

const char* useText(Stretch::Use use) {
    switch (use) {
        case Stretch::Use::Control:
            return "control";
        case Stretch::Use::Value:
            return "value";
        case Stretch::Use::Pointer:
            return "address";
        case Stretch::Use::Gap:
            break;
    }
    return "free";
}

/// What is wrong with a stretch; empty for nothing.
std::string wrongText(const Stretch& stretch) {
    std::string text = stretch.shared > 0 ? "OVERLAPS " + sizeText(stretch.shared) : "";
    if (stretch.isBeyond) text += std::string(text.empty() ? "" : ", ") + "BEYOND RANGE";
    return text;
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

const char* passingText(Passing passing) {
    switch (passing) {
        case Passing::Value:
            return "value";
        case Passing::Pointer:
            return "pointer";
        case Passing::Stream:
            return "stream";
        case Passing::Unknown:
            break;
    }
    return "?";
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
                   {numberText(argument.offset, kfab::kernel::hexadecimal)},
                   {numberText(argument.size, sizeText)}});
    page.table(table);
}

void showFiles(TextPage& page, const Kernel& kernel) {
    if (kernel.files.empty()) return;
    const std::uint64_t size =
        std::accumulate(kernel.files.begin(), kernel.files.end(), std::uint64_t{0},
                        [](std::uint64_t sum, const File& file) { return sum + file.size; });
    page.heading("Files: " + std::to_string(kernel.files.size()) + " of " + sizeText(size));
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
    for (const kfab::lint::Finding& finding : outcome.findings) {
        const Colour colour = finding.rule->severity == Severity::Error ? Colour::Bad : Colour::Doubtful;
        page.paragraph(severityText(finding.rule->severity) + (": " + displayed(finding.text)) + " [" +
                           finding.rule->code + "]",
                       colour);
    }
    for (const kfab::lint::Unchecked& unchecked : outcome.unchecked)
        page.paragraph("unchecked: " + displayed(unchecked.reason) + " [" + unchecked.code + "]",
                       Colour::Quiet);
}

}  // namespace

void showKernel(TextPage& page, const Kernel& kernel) {
    showIdentity(page, kernel);
    if (kernel.problem.empty()) {
        showPorts(page, kernel);
        for (const AddressMap& map : kernel.maps)
            showMap(page, map);
        showArguments(page, kernel);
        showReport(page, kernel.report);
    }
    showFiles(page, kernel);
    if (kernel.problem.empty()) showFindings(page, kernel.findings);
}

}  // namespace cli
