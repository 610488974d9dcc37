#include "containers/page/Page.h"

#include "containers/page/Facts.h"
#include "containers/page/Parts.h"
#include "containers/page/StyleSheet.h"
#include "containers/page/Table.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <iterator>

namespace kfab::page {
namespace {

using namespace overview;

/// What it is about: a page goes where the directory of its package means nothing.
std::string subjectOf(const Overview& overview) {
    const std::string& path = overview.package ? overview.package->path : overview.kernels.front().document;
    return std::string(HUTPathUtils::lastComponent(path));
}

std::string kernelId(std::size_t place) {
    return "kernel-" + std::to_string(place + 1);
}

void addHead(Markup& out, const Overview& overview) {
    const auto head = out.open("head");
    out.addEmpty("meta", {{"charset", "utf-8"}});
    out.addEmpty("meta", {{"http-equiv", "Content-Security-Policy"}, {"content", contentSecurityPolicy()}});
    out.addEmpty("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
    out.addEmpty("meta", {{"name", "color-scheme"}, {"content", "light dark"}});
    out.add("title",
            subjectOf(overview) + (overview.package ? ", a kernel package" : ", a kernel description"));
    out.addVerbatim("style", styleSheet());
}

void addPackage(Markup& out, const Package& package) {
    Facts facts(out, "facts");
    facts.add("Size", sizeText(package));
    facts.add("Format", formatText(package));
    facts.add("Written", writtenText(package));
    facts.add("Digest", digestStatement(package));
    facts.add("Seal", package.seal);
    facts.add("IP caches", listText(package.ipCaches));
}

void addIndex(Markup& out, const std::vector<Kernel>& kernels) {
    const auto index = out.open("nav", {{"id", "index"}, {"aria-labelledby", "index-name"}});
    out.add("h2", {{"id", "index-name"}}, countText(kernels.size(), "kernel"));
    std::vector<const Module*> tops;
    std::transform(kernels.begin(), kernels.end(), std::back_inserter(tops), topOf);
    const std::vector<ResourceKind> resources = takenResources(tops);
    std::vector<Column> columns{{"Name"}, words("Flows")};
    for (const ResourceKind& kind : resources)
        columns.push_back(numbers(kind.name));
    columns.push_back(words("Timing"));
    columns.push_back(words("Lint"));
    Table table(out, "What each takes, whether its timing is met, and what lint finds", columns, Table::all);
    for (std::size_t at = 0; at < kernels.size(); ++at) {
        std::vector<Cell> row{{.text = kernels[at].name, .link = kernelId(at)}, {flowsText(kernels[at])}};
        for (const ResourceKind& kind : resources)
            row.push_back({tops[at] == nullptr ? "-" : countText(tops[at]->resources.*kind.count)});
        const Statement timing = tops[at] == nullptr ? Statement{"-"} : timingHeadline(tops[at]->timing);
        const Statement lint = findingsStatement(kernels[at]);
        row.push_back({timing.text, timing.tone});
        row.push_back({lint.text, lint.tone});
        table.row(row);
    }
}

void addBody(Markup& out, const Overview& overview) {
    const auto body = out.open("body");
    out.add("a", {{"class", "skip"}, {"href", "#content"}}, "Skip to the kernels");
    {
        const auto header = out.open("header");
        {
            const auto heading = out.open("h1");
            out.add("span", {{"class", "kind"}},
                    overview.package ? "Kernel package " : "Kernel description ");
            out.isolated(subjectOf(overview));
        }
        if (overview.package) addPackage(out, *overview.package);
    }
    const bool hasIndex = overview.kernels.size() != 1;
    if (hasIndex) addIndex(out, overview.kernels);
    const auto main = out.open("main", {{"id", "content"}});
    for (std::size_t at = 0; at < overview.kernels.size(); ++at) {
        HUTInterrupt::check();
        addKernel(out, overview.kernels[at], kernelId(at));
        if (!hasIndex) continue;
        const auto paragraph = out.open("p", {{"class", "back"}});
        out.add("a", {{"href", "#index"}}, "All kernels");
    }
}

}  // namespace

std::string pageOf(const Overview& overview) {
    Markup out;
    {
        const auto document = out.open("html", {{"lang", "en"}});
        addHead(out, overview);
        addBody(out, overview);
    }
    return out.take();
}

}  // namespace kfab::page
