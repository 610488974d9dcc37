#include "containers/page/Parts.h"
#include "containers/page/Table.h"

namespace kfab::page {
namespace {

using lint::Finding;
using lint::Severity;
using lint::Unchecked;

void addFinding(Markup& out, const Finding& finding) {
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

void addUnchecked(Markup& out, const Unchecked& unchecked) {
    const auto item = out.open("li", {{"class", "quiet"}});
    out.text("unchecked: ");
    out.isolated(unchecked.reason);
    out.text(" ");
    out.add("code", "[" + std::string(unchecked.code) + "]");
}

}  // namespace

void addFindings(Markup& out, const lint::Outcome& outcome) {
    out.add("h3", "Lint");
    if (outcome.findings.empty() && outcome.unchecked.empty())
        return out.add("p", {{"class", "good"}}, "clean");
    const auto list = out.open("ul", {{"class", "findings"}});
    for (const Finding& finding : outcome.findings)
        addFinding(out, finding);
    for (const Unchecked& unchecked : outcome.unchecked)
        addUnchecked(out, unchecked);
}

}  // namespace kfab::page
