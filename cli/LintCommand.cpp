#include "cli/Command.h"
#include "cli/InputFiles.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "containers/lint/Lint.h"
#include "platform/files/HUTPathUtils.h"

#include <iostream>
#include <memory>
#include <string>

#include <CLI/Error.hpp>
#include <nlohmann/json.hpp>

namespace cli {
namespace {

using kfab::lint::Finding;
using kfab::lint::Outcome;
using kfab::lint::Rule;
using kfab::lint::Severity;
using kfab::lint::Unchecked;
using nlohmann::ordered_json;

struct Options {
    std::string file, kernel, ipDir, report;
    std::string format = "text";
    bool json = false, strict = false, rules = false, isPackage = false;

    bool isJson() const { return json || format == "json"; }
};

void printText(const Outcome& outcome) {
    for (const Finding& finding : outcome.findings) {
        std::cout << HUTPathUtils::shown(finding.document) << ':';
        if (finding.line > 0) std::cout << finding.line << ':';
        std::cout << ' ' << severityText(finding.rule->severity) << ": " << finding.text << " ["
                  << finding.rule->code << "]\n";
    }
    for (const Unchecked& unchecked : outcome.unchecked)
        std::cout << HUTPathUtils::shown(unchecked.kernel) << ": unchecked: " << unchecked.reason << " ["
                  << unchecked.code << "]\n";
}

void printJson(const Outcome& outcome) {
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
    print({{"findings", std::move(findings)}, {"unchecked", std::move(unchecked)}});
}

void printRules(const Options& options) {
    auto all = ordered_json::array();
    for (const Rule& rule : kfab::lint::rules()) {
        if (!options.isJson())
            std::cout << rule.code << ": " << severityText(rule.severity) << ": " << rule.meaning << '\n';
        all.push_back({{"code", rule.code},
                       {"severity", severityText(rule.severity)},
                       {"meaning", rule.meaning},
                       {"explanation", rule.explanation},
                       {"cure", rule.cure},
                       {"wrong", rule.wrong},
                       {"right", rule.right}});
    }
    if (options.isJson()) print(all);
}

/// Throws for options that do not fit what the file is.
void understand(Options& options) {
    if (options.rules) return;
    if (options.file.empty()) throw CLI::RequiredError("PACKAGE");
    options.isPackage = isPackage(options.file);
    if (!options.isPackage && !options.kernel.empty())
        throw CLI::ValidationError("KERNEL", "'" + options.file + "' is no package");
    if (options.isPackage && (!options.ipDir.empty() || !options.report.empty()))
        throw CLI::ValidationError("--ip, --report", "they are for a kernel.xml, not for a package");
}

Outcome outcomeOf(const Options& options) {
    if (!options.isPackage)
        return kfab::lint::lintKernel(
            {.kernelXml = options.file, .ipDir = options.ipDir, .report = options.report});
    if (options.kernel.empty()) return kfab::lint::lintPackage(options.file);
    return kfab::lint::lintPackage(options.file, options.kernel);
}

ExitStatus lint(const Options& options) {
    if (options.rules) {
        printRules(options);
        return Done;
    }
    const Outcome outcome = outcomeOf(options);
    options.isJson() ? printJson(outcome) : printText(outcome);
    return outcome.has(Severity::Error) || (options.strict && outcome.has(Severity::Warning)) ? Found : Done;
}

}  // namespace

Run declareLint(CLI::App& app) {
    auto options = std::make_shared<Options>();
    app.add_option("PACKAGE", options->file, "The package, or a kernel.xml")->type_name("FILE");
    app.add_option("KERNEL", options->kernel, "Name of a kernel of the package; all unless given");
    takesDirectory(app.add_option("--ip", options->ipDir, "Directory of the IP of a kernel.xml"));
    takesFile(app.add_option("--report", options->report, "Synthesis report of a kernel.xml"));
    app.add_flag("--strict", options->strict, "Warnings count as well");
    app.add_flag("--rules", options->rules, "Print what is looked for, and nothing else");
    takesOneOf(app.add_option("--format", options->format, "How to print"), {"text", "json"})
        ->capture_default_str();
    app.add_flag("--json", options->json, "As --format json");
    app.parse_complete_callback([options] { understand(*options); });
    return [options] { return lint(*options); };
}

}  // namespace cli
