#include "containers/page/Parts.h"
#include "containers/page/Table.h"

#include <algorithm>

namespace kfab::page {
namespace {

using lint::Finding;
using lint::Severity;
using lint::Unchecked;

void addItem(Markup& out, const Finding& finding) {
    const auto item = out.open("li");
    {
        const auto paragraph = out.open("p");
        const bool isError = finding.rule->severity == Severity::Error;
        out.add("span", {{"class", isError ? "bad" : "doubtful"}}, severityText(finding.rule->severity));
        out.text(": ");
        out.isolated(finding.text);
        out.text(" ");
        out.add("code", "[" + std::string(finding.rule->code) + "]");
    }
    {
        const auto paragraph = out.open("p", {{"class", "quiet"}});
        out.text("At ");
        out.isolated(finding.document + (finding.line > 0 ? ":" + std::to_string(finding.line) : ""));
    }
    out.add("p", "Cure: " + std::string(finding.rule->cure));
}

void addItem(Markup& out, const Unchecked& unchecked) {
    const auto item = out.open("li", {{"class", "quiet"}});
    out.text("unchecked: ");
    out.isolated(unchecked.reason);
    out.text(" ");
    out.add("code", "[" + std::string(unchecked.code) + "]");
}

template <class Items>
void addItems(Markup& out, const Items& items) {
    const std::size_t shown = std::min(items.size(), longestList);
    for (std::size_t at = 0; at < shown; ++at)
        addItem(out, items[at]);
    if (shown < items.size()) out.add("li", restText(items.size() - shown));
}

}  // namespace

void addFindings(Markup& out, const lint::Outcome& outcome) {
    out.add("h3", "Lint");
    if (outcome.findings.empty() && outcome.unchecked.empty())
        return out.add("p", {{"class", "good"}}, "clean");
    const auto list = out.open("ul", {{"class", "findings"}});
    addItems(out, outcome.findings);
    addItems(out, outcome.unchecked);
}

}  // namespace kfab::page
