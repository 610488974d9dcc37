#include "cli/Subject.h"

#include "cli/InputFiles.h"
#include "containers/overview/Overview.h"

#include <memory>
#include <optional>
#include <string>

#include <CLI/Error.hpp>

namespace cli {
namespace {

struct Options {
    std::string file;
    std::optional<std::string> kernel;
    bool isPackage = false;
};

/// Throws for options that do not fit what the file is.
void understand(Options& options) {
    options.isPackage = isPackage(options.file);
    if (!options.isPackage && options.kernel)
        throw CLI::ValidationError("KERNEL", "'" + options.file + "' is no package");
}

}  // namespace

std::function<kfab::overview::Overview()> takesSubject(CLI::App& app) {
    auto options = std::make_shared<Options>();
    InputFiles inputs(app);
    inputs.addOrPackage("PACKAGE", options->file, "The package, or a kernel.xml")->required();
    app.add_option("KERNEL", options->kernel, "Only this kernel of the package, in any case of letters")
        ->type_name("NAME");
    app.parse_complete_callback([options] { understand(*options); });
    return [options, fetch = inputs.fetch()] {
        fetch();
        return options->isPackage ? kfab::overview::ofPackage(options->file, options->kernel)
                                  : kfab::overview::ofDescription(options->file);
    };
}

}  // namespace cli
