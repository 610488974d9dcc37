#include "cli/LintOutput.h"

#include "cli/Output.h"
#include "platform/files/DisplayText.h"

#include <iostream>

#include <nlohmann/json.hpp>

namespace cli {

using kfab::lint::Finding;
using kfab::lint::Outcome;
using kfab::lint::Rule;
using kfab::lint::Unchecked;
using nlohmann::ordered_json;

std::string lintLine(const Finding& finding, const std::string& severity) {
    std::string line = finding.document + ":";
    if (finding.line > 0) line += std::to_string(finding.line) + ":";
    if (!severity.empty()) line += " " + severity + ":";
    return display::displayed(line + " " + finding.text + " [" + finding.rule->code + "]");
}

void printLintText(const Outcome& outcome) {
    for (const Finding& finding : outcome.findings)
        std::cout << lintLine(finding, severityText(finding.rule->severity)) << '\n';
    for (const Unchecked& unchecked : outcome.unchecked)
        std::cout << display::displayed(unchecked.kernel + ": unchecked: " + unchecked.reason) << " ["
                  << unchecked.code << "]\n";
}

ordered_json lintJson(const Outcome& outcome) {
    auto findings = ordered_json::array();
    for (const Finding& finding : outcome.findings)
        findings.push_back({{"code", finding.rule->code},
                            {"severity", severityText(finding.rule->severity)},
                            {"kernel", jsonText(finding.kernel)},
                            {"document", jsonText(finding.document)},
                            {"line", finding.line},
                            {"text", jsonText(finding.text)},
                            {"cure", finding.rule->cure}});
    auto unchecked = ordered_json::array();
    for (const Unchecked& each : outcome.unchecked)
        unchecked.push_back(
            {{"code", each.code}, {"kernel", jsonText(each.kernel)}, {"reason", jsonText(each.reason)}});
    return {{"findings", std::move(findings)}, {"unchecked", std::move(unchecked)}};
}

void printLintJson(const Outcome& outcome) {
    print(lintJson(outcome));
}

void printRulesText() {
    for (const Rule& rule : kfab::lint::rules())
        std::cout << rule.code << ": " << severityText(rule.severity) << ": " << rule.meaning << '\n';
}

void printRulesJson() {
    auto all = ordered_json::array();
    for (const Rule& rule : kfab::lint::rules())
        all.push_back({{"code", rule.code},
                       {"severity", severityText(rule.severity)},
                       {"meaning", rule.meaning},
                       {"explanation", rule.explanation},
                       {"cure", rule.cure},
                       {"example",
                        {{"document", rule.example.document},
                         {"wrong", rule.example.wrong},
                         {"right", rule.example.right},
                         {"place", rule.example.place},
                         {"finding", rule.example.finding}}}});
    print(all);
}

}  // namespace cli
