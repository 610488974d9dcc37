#include "cli/Command.h"
#include "cli/InputFiles.h"
#include "cli/LintOutput.h"
#include "cli/Options.h"
#include "containers/lint/Lint.h"

#include <memory>
#include <string>

#include <CLI/Error.hpp>

namespace cli {
namespace {

using kfab::lint::Outcome;
using kfab::lint::Severity;

struct Options {
    std::string file, kernel, ipDir, report;
    std::string format = "text";
    bool json = false, strict = false, rules = false, isPackage = false;

    bool isJson() const { return json || format == "json"; }
    bool isSarif() const { return !json && format == "sarif"; }
};

/// Throws for options that do not fit what the file is.
void understand(Options& options) {
    if (options.rules && options.isSarif())
        throw CLI::ValidationError("--rules", "they are printed as text or json");
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
        options.isJson() ? printRulesJson() : printRulesText();
        return Done;
    }
    const Outcome outcome = outcomeOf(options);
    if (options.isSarif())
        printLintSarif(outcome, options.isPackage ? options.file : std::string());
    else
        options.isJson() ? printLintJson(outcome) : printLintText(outcome);
    return outcome.has(Severity::Error) || (options.strict && outcome.has(Severity::Warning)) ? Found : Done;
}

}  // namespace

Run declareLint(CLI::App& app) {
    auto options = std::make_shared<Options>();
    InputFiles inputs(app);
    inputs.addOrPackage("PACKAGE", options->file, "The package, or a kernel.xml");
    app.add_option("KERNEL", options->kernel, "Name of a kernel of the package; all unless given")
        ->type_name("NAME");
    takesDirectory(app.add_option("--ip", options->ipDir, "Directory of the IP of a kernel.xml"));
    inputs.add("--report", options->report, "Synthesis report of a kernel.xml");
    app.add_flag("--strict", options->strict, "Warnings count as well");
    app.add_flag("--rules", options->rules, "Print what is looked for, and nothing else");
    takesOneOf(app.add_option("--format", options->format, "How to print"), {"text", "json", "sarif"})
        ->capture_default_str();
    app.add_flag("--json", options->json, "As --format json");
    app.parse_complete_callback([options] { understand(*options); });
    return [options, fetch = inputs.fetch()] {
        fetch();
        return lint(*options);
    };
}

}  // namespace cli
