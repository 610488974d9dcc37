#include "cli/Command.h"
#include "cli/InputFiles.h"
#include "cli/ShowOutput.h"
#include "containers/overview/Overview.h"

#include <memory>
#include <optional>
#include <string>

#include <CLI/Error.hpp>

namespace cli {
namespace {

using kfab::overview::Overview;

struct Options {
    std::string file;
    std::optional<std::string> kernel;
    bool json = false, isPackage = false;
};

/// Throws for options that do not fit what the file is.
void understand(Options& options) {
    options.isPackage = isPackage(options.file);
    if (!options.isPackage && options.kernel)
        throw CLI::ValidationError("KERNEL", "'" + options.file + "' is no package");
}

ExitStatus show(const Options& options) {
    const Overview overview = options.isPackage ? kfab::overview::ofPackage(options.file, options.kernel)
                                                : kfab::overview::ofDescription(options.file);
    options.json ? printOverviewJson(overview) : printOverviewText(overview);
    return Done;
}

}  // namespace

Run declareShow(CLI::App& app) {
    auto options = std::make_shared<Options>();
    app.add_option("PACKAGE", options->file, "The package, or a kernel.xml")->type_name("FILE")->required();
    app.add_option("KERNEL", options->kernel, "Only this kernel of the package, in any case of letters")
        ->type_name("NAME");
    app.add_flag("--json", options->json, "As a JSON object");
    app.parse_complete_callback([options] { understand(*options); });
    return [options] { return show(*options); };
}

}  // namespace cli
