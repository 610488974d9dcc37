#include "cli/Command.h"
#include "cli/InputFiles.h"
#include "cli/Options.h"
#include "containers/kernel/HCOKernelXMLReader.h"
#include "containers/kernel/HCOKernelXMLWriter.h"

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cli {
namespace {

struct Options {
    std::string file, directory, report;
    std::vector<std::string> compileOptions;
    std::optional<std::string> debug, profileType;
};

ExitStatus edit(const Options& options) {
    HCOKernelXMLReader reader(options.file);
    reader.parse();
    HCOKernelXMLWriter writer(reader.getRoot());
    for (const std::string& text : options.compileOptions)
        writer.addCompileOptions(text);
    if (options.debug) writer.addDebug(*options.debug);
    if (options.profileType) writer.addProfileType(*options.profileType);
    if (!options.report.empty()) writer.addDesignXML(options.report);
    if (options.directory == "-") {
        std::cout << writer.text("standard output");
    } else {
        writer.write(options.directory);
    }
    return Done;
}

}  // namespace

Run declareKernelEdit(CLI::App& app) {
    auto options = std::make_shared<Options>();
    InputFiles inputs(app);
    inputs.add("KERNEL.XML", options->file, "The kernel description to begin with")->required();
    takesOutput(
        app.add_option(
            "-o,--output", options->directory,
            "Directory to write kernel.xml to; created where missing; - writes it to standard output"),
        "DIR")
        ->required();
    app.add_option("--compile-options", options->compileOptions, "Options to append; may be repeated")
        ->allow_extra_args(false);
    app.add_option("--debug", options->debug, "The debug flag, such as true")->type_name("VALUE");
    app.add_option("--profile-type", options->profileType, "The kind of profiling instrumentation")
        ->type_name("VALUE");
    inputs.add("--report", options->report, "Synthesis report to append to the profile");
    return [options, fetch = inputs.fetch()] {
        fetch();
        return edit(*options);
    };
}

}  // namespace cli
