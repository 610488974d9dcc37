#include "cli/ShowOutput.h"
#include "cli/TextPage.h"
#include "platform/files/DisplayText.h"

#include <algorithm>
#include <array>

namespace cli {
namespace {

using namespace kfab::overview;
using display::displayed;

void showPackage(TextPage& page, const Package& package) {
    page.title("Package", displayed(package.path));
    page.field("Size", sizeText(package));
    page.field("Format", formatText(package));
    page.field("Written", writtenText(package));
    const Statement digest = digestStatement(package);
    page.field("Digest", digest.text, colourOf(digest.tone));
    page.name("Seal", displayed(package.seal));
    page.field("IP caches", listText(package.ipCaches));
}

void showKernels(TextPage& page, const std::vector<Kernel>& kernels) {
    page.heading(countText(kernels.size(), "kernel"));
    std::vector<const Module*> tops;
    std::transform(kernels.begin(), kernels.end(), std::back_inserter(tops), topOf);
    const std::vector<ResourceKind> resources = takenResources(tops);
    std::vector<TableColumn> columns{{.title = "Name", .least = 14},
                                     {.title = "Flows", .rank = 3},
                                     {.title = "IP", .least = 14, .rank = 4}};
    for (std::size_t at = 0; at < resources.size(); ++at)
        columns.push_back(
            {.title = resources[at].name, .isNumber = true, .rank = at == 0 ? 2 : static_cast<int>(4 + at)});
    columns.push_back({.title = "Timing", .rank = 1});
    columns.push_back({.title = "Lint", .least = 8});
    TextTable table(columns);
    for (const Kernel& kernel : kernels) {
        const Module* top = topOf(kernel);
        std::vector<TableCell> row{{displayed(kernel.name)}, {flowsText(kernel)}, {displayed(kernel.vlnv)}};
        for (const ResourceKind& kind : resources)
            row.push_back(top == nullptr ? TableCell{"-"} : TableCell{countText(top->resources.*kind.count)});
        row.push_back(top == nullptr ? TableCell{"-"} : cellOf(timingHeadline(top->timing)));
        row.push_back(cellOf(findingsStatement(kernel)));
        table.add(std::move(row));
    }
    page.table(table, TextTable::all);
}

}  // namespace

Colour colourOf(Tone tone) {
    constexpr std::array colours = {Colour::None, Colour::Good, Colour::Doubtful, Colour::Bad};
    return colours.at(static_cast<std::size_t>(tone));
}

TableCell cellOf(const Statement& statement) {
    return {statement.text, colourOf(statement.tone)};
}

void printOverviewText(const Overview& overview) {
    TextPage page;
    if (overview.package) showPackage(page, *overview.package);
    if (overview.kernels.size() == 1)
        showKernel(page, overview.kernels.front());
    else
        showKernels(page, overview.kernels);
}

}  // namespace cli
