#include "containers/kernel/NumberText.h"
#include "containers/page/AddressPicture.h"
#include "containers/page/Diagram.h"
#include "containers/page/Facts.h"
#include "containers/page/Parts.h"
#include "containers/page/Table.h"
#include "platform/files/DisplayText.h"

#include <algorithm>

namespace kfab::page {
namespace {

using namespace overview;

void addIdentity(Markup& out, const Kernel& kernel) {
    Facts facts(out, "facts");
    if (!kernel.problem.empty()) facts.add("Unreadable", {kernel.problem, Tone::Bad});
    facts.add("VLNV", kernel.vlnv);
    facts.add("Language", kernel.language);
    if (kernel.problem.empty()) facts.add("Control", controlText(kernel));
    facts.add("Debug", kernel.debug);
    if (kernel.entry) {
        facts.add("Flows", listText(kernel.entry->flows));
        facts.add("IP", kernel.entry->ip.empty() ? "none" : kernel.entry->ip);
        if (kernel.entry->topIp != ".") facts.add("Top IP", kernel.entry->topIp);
        facts.add("Project", kernel.entry->project);
    }
    facts.add("Described in", kernel.document);
}

/// What many come for.
void addHeadlines(Markup& out, const Kernel& kernel) {
    Facts tiles(out, "tiles");
    if (const Module* top = topOf(kernel)) {
        tiles.add("Timing", timingHeadline(top->timing));
        if (top->latency) tiles.add("Latency, best", cyclesText(top->latency->best.cycles));
        if (top->resources.lut) tiles.add("LUT", countText(top->resources.lut));
    }
    const Module* largest = kernel.report ? kernel.report->largest(&Resources::lut) : nullptr;
    if (largest != nullptr)
        tiles.add("Most LUT in", display::shortened(display::displayed(largest->name), 24, "…"));
    tiles.add("Lint", findingsStatement(kernel));
}

void addPorts(Markup& out, const Kernel& kernel) {
    out.add("h3", "Ports");
    if (kernel.ports.empty()) return out.add("p", "none");
    const auto pair = out.open("div", {{"class", "pair"}});
    addDiagram(out, kernel);
    Table table(out, "Ports, how wide they are and what they reach",
                {{"Name"}, names("Mode"), names("Kind"), numbers("Bits"), numbers("Range"), numbers("Base")});
    for (const lint::PortFacts& port : kernel.ports)
        table.row({{port.name},
                   {port.mode},
                   {port.type},
                   {plainText(port.dataWidth)},
                   {sizeText(port.range)},
                   {addressText(port.base)}});
}

void addMap(Markup& out, const AddressMap& map) {
    {
        const auto heading = out.open("h3");
        out.text("Address map of ");
        out.isolated(map.port);
    }
    const bool isWrong = std::any_of(map.stretches.begin(), map.stretches.end(),
                                     [](const Stretch& stretch) { return !wrongText(stretch).empty(); });
    const auto pair = out.open("div", {{"class", isWrong ? "" : "pair"}});  // what is wrong takes room
    addAddressPicture(out, map);
    std::vector<Column> columns{numbers("Offset"), numbers("Size"), names("Argument"), words("Holds"),
                                names("Data via")};
    if (isWrong) columns.push_back({"Wrong"});
    Table table(out, "What is read and written where" + (map.range ? ", of " + sizeText(*map.range) : ""),
                columns);
    for (const Stretch& stretch : map.stretches) {
        std::vector<Cell> row{{kernel::hexadecimal(stretch.offset)},
                              {sizeText(stretch.size)},
                              {stretch.argument},
                              {useText(stretch.use)},
                              {stretch.through}};
        if (isWrong) row.push_back({wrongText(stretch), Tone::Bad});
        table.row(row);
    }
}

void addMaps(Markup& out, const std::vector<AddressMap>& maps) {
    const std::size_t shown = std::min(maps.size(), longestList);
    std::for_each_n(maps.begin(), shown, [&](const AddressMap& map) { addMap(out, map); });
    if (shown < maps.size()) out.add("p", restText(maps.size() - shown) + " of the address maps");
}

void addArguments(Markup& out, const Kernel& kernel) {
    out.add("h3", "Arguments");
    if (kernel.arguments.empty()) return out.add("p", "none");
    Table table(
        out,
        "Of a pointer, the address is written at its offset, and the data go through its port. A value "
        "is written at its offset.",
        {{"Name"},
         numbers("Id"),
         names("Type"),
         words("Passed"),
         names("Port"),
         numbers("Offset"),
         numbers("Size")});
    for (const Argument& argument : kernel.arguments)
        table.row({{argument.name},
                   {plainText(argument.id)},
                   {argument.type},
                   {passingText(argument.passing)},
                   {argument.port},
                   {addressText(argument.offset)},
                   {sizeText(argument.size)}});
}

void addFiles(Markup& out, const Kernel& kernel) {
    if (kernel.files.empty()) return;
    out.add("h3", "Files");
    Table table(out, filesText(kernel.files), {{"Name"}, words("Part"), numbers("Size"), numbers("Packed")});
    for (const File& file : kernel.files)
        table.row({{file.name}, {file.part}, {sizeText(file.size)}, {sizeText(file.storedSize)}});
}

}  // namespace

void addKernel(Markup& out, const Kernel& kernel, const std::string& id) {
    const auto article = out.open("article", {{"class", "kernel"}, {"aria-labelledby", id}});
    {
        const auto heading = out.open("h2", {{"id", id}});
        out.add("span", {{"class", "kind"}}, "Kernel ");
        out.isolated(kernel.name);
    }
    addIdentity(out, kernel);
    if (kernel.problem.empty()) {
        addHeadlines(out, kernel);
        addPorts(out, kernel);
        addArguments(out, kernel);
        addMaps(out, kernel.maps);
        addReport(out, kernel);
        addFindings(out, kernel.findings);
    }
    addFiles(out, kernel);
}

}  // namespace kfab::page
