#include "cli/DisplayText.h"
#include "cli/Kernels.h"
#include "cli/ShowOutput.h"
#include "cli/TextPage.h"
#include "containers/explorer/KernelLayout.h"
#include "containers/kp/PackageLayout.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace cli {
namespace {

using namespace kfab::overview;

void showDigest(TextPage& page, const Package& package) {
    switch (package.digest) {
        case DigestVerdict::Valid:
            return page.field("Digest", "valid", Colour::Good);
        case DigestVerdict::Missing:
            return page.field("Digest", "missing: the package was never sealed", Colour::Doubtful);
        case DigestVerdict::Mismatch:
            return page.field("Digest", "MISMATCH: the package was changed since it was sealed", Colour::Bad);
        case DigestVerdict::Unreadable:
            return page.field("Digest", "unreadable", Colour::Bad);
    }
}

void showPackage(TextPage& page, const Package& package) {
    page.title("Package", displayed(package.path));
    page.field("Size", sizeText(package.size) + ", " + countText(package.fileCount, "file") + " of " +
                           sizeText(package.contentSize));
    page.field("Format", versionText(package.formatMajor, package.formatMinor) + ", layout " +
                             layout::name(layout::hasRepository(package.formatMajor)));
    const bool isKnown = package.softwareMajor > 0 || package.softwareMinor > 0;
    page.field("Written",
               timeText(package.written, "%Y-%m-%d %H:%M UTC") +
                   (isKnown ? " by software " + versionText(package.softwareMajor, package.softwareMinor)
                            : ", it does not say by what"));
    showDigest(page, package);
    page.name("Seal", displayed(package.seal));
    std::string caches;
    for (const std::string& cache : package.ipCaches)
        caches += (caches.empty() ? "" : ", ") + displayed(cache);
    page.field("IP caches", caches);
}

std::string flowsText(const Kernel& kernel) {
    std::string flows;
    if (kernel.entry)
        for (const std::string& flow : kernel.entry->flows)
            flows += (flows.empty() ? "" : ",") + flow;
    return flows.empty() ? "-" : flows;
}

/// Where its figures are known.
const Module* topOf(const Kernel& kernel) {
    return kernel.report ? kernel.report->top() : nullptr;
}

void showKernels(TextPage& page, const std::vector<Kernel>& kernels) {
    page.heading(countText(kernels.size(), "kernel"));
    constexpr int firstLeftOut = 9;
    std::vector<const Module*> tops;
    std::transform(kernels.begin(), kernels.end(), std::back_inserter(tops), topOf);
    const std::vector<ResourceKind> resources = takenResources(tops);
    std::vector<TableColumn> columns{{.title = "Name", .least = 14},
                                     {.title = "Flows", .rank = 3},
                                     {.title = "IP", .least = 14, .rank = firstLeftOut - 2}};
    for (std::size_t at = 0; at < resources.size(); ++at)
        columns.push_back({.title = resources[at].name,
                           .isNumber = true,
                           .rank = at == 0 ? 2 : static_cast<int>(firstLeftOut + at)});
    columns.push_back({.title = "Timing", .rank = 1});
    columns.push_back({.title = "Lint", .least = 8});
    TextTable table(columns);
    for (const Kernel& kernel : kernels) {
        const Module* top = topOf(kernel);
        std::vector<TableCell> row{{displayed(kernel.name)}, {flowsText(kernel)}, {displayed(kernel.vlnv)}};
        for (const ResourceKind& kind : resources)
            row.push_back(top == nullptr ? TableCell{"-"} : countCell(top->resources.*kind.count));
        row.push_back(top == nullptr ? TableCell{"-"} : timingCell(top->timing));
        row.push_back(kernel.problem.empty() ? findingsCell(kernel.findings)
                                             : TableCell{"UNREADABLE", Colour::Bad});
        table.add(std::move(row));
    }
    page.table(table, TextTable::all);
}

}  // namespace

std::string timeText(std::time_t time, const char* format) {
    std::tm utc{};
    ::gmtime_r(&time, &utc);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &utc)};
}

std::vector<ResourceKind> takenResources(const std::vector<const Module*>& modules) {
    std::vector<ResourceKind> taken;
    std::copy_if(std::begin(resourceKinds), std::end(resourceKinds), std::back_inserter(taken),
                 [&](const ResourceKind& kind) {
                     return std::any_of(modules.begin(), modules.end(), [&](const Module* module) {
                         return module != nullptr && (module->resources.*kind.count).value_or(0) > 0;
                     });
                 });
    return taken;
}

TableCell countCell(const std::optional<std::uint64_t>& count) {
    return {count ? std::to_string(*count) : "-"};
}

TableCell timingCell(const Timing& timing) {
    const std::optional<bool> isMet = timing.isMet();
    if (!isMet) return {"-"};
    const std::string periods = decimalText(*timing.estimated) + "/" + decimalText(timing.available());
    return *isMet ? TableCell{"met " + periods, Colour::Good} : TableCell{"MISSED " + periods, Colour::Bad};
}

TableCell findingsCell(const kfab::lint::Outcome& outcome) {
    using kfab::lint::Severity;
    const auto errors = static_cast<std::uint64_t>(
        std::count_if(outcome.findings.begin(), outcome.findings.end(),
                      [](const auto& finding) { return finding.rule->severity == Severity::Error; }));
    if (errors > 0) return {countText(errors, "error"), Colour::Bad};
    if (!outcome.findings.empty()) return {countText(outcome.findings.size(), "warning"), Colour::Doubtful};
    if (!outcome.unchecked.empty()) return {std::to_string(outcome.unchecked.size()) + " unchecked"};
    return {"clean", Colour::Good};
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
