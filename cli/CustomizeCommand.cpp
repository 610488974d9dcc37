#include "cli/Advice.h"
#include "cli/Command.h"
#include "cli/IpParams.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "containers/customizer/KernelCustomization.h"
#include "platform/files/Disk.h"
#include "platform/tcl/TclEvaluator.h"

#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/Error.hpp>
#include <fcntl.h>
#include <stdlib.h>

namespace cli {
namespace {

using kfab::kernel::CustomizationRun;
using kfab::kernel::KernelCustomization;

struct Options {
    KernelCustomization customization;
    std::string paramsFile, keepScripts;
    std::vector<std::string> params;
};

/// What a user can do about a failure, if it is that nobody knows the host's commands.
std::string_view hintOn(const std::exception& failure) {
    const bool isOfTcl = dynamic_cast<const tkq::tcltasks::tcl_error*>(&failure) != nullptr;
    if (!isOfTcl || std::string_view(failure.what()).find("invalid command name") == std::string_view::npos)
        return {};
    return "; give a script or a shell that knows the host's commands with --host-script or --tcl-shell";
}

/// Writes every script down before it is evaluated.
class ScriptFile {
public:
    explicit ScriptFile(const std::string& path) {
        if (path != "-") file_ = disk::open(path, O_WRONLY | O_CREAT | O_TRUNC);
    }
    void keep(const std::string& script) {
        const std::string text = script.ends_with('\n') ? script : script + "\n";
        if (file_.isOpen())
            disk::write(file_, text);
        else
            std::cout << text << std::flush;
    }

private:
    disk::FileDescriptor file_;  ///< not open for standard output
};

/// The host's scripts may change the current directory.
void makePathsOfEnvironmentAbsolute() {
    for (const char* variable : {"KP_PARAM_FILE", "TMPDIR"})
        if (const char* path = std::getenv(variable); path != nullptr && *path != '\0')
            ::setenv(variable, disk::absolute(path).c_str(), 1);
}

ExitStatus customize(const Options& options) {
    KernelCustomization request = options.customization;
    request.params = collectParams(options.paramsFile, options.params);
    request.reasonOf = [](const std::exception& failure) {
        return textWithAdvice(failure).append(hintOn(failure));
    };
    makePathsOfEnvironmentAbsolute();
    std::optional<CustomizationRun> customization;
    withAdvice([&] { customization.emplace(request); });
    std::optional<ScriptFile> kept;
    if (!options.keepScripts.empty()) kept.emplace(options.keepScripts);
    const std::string failure = customization->run([&](const std::string& script, auto) {
        if (kept) kept->keep(script);
    });
    if (failure.empty()) return Done;
    // Not thrown: it counts even when nobody reads the scripts any more.
    complain("error", failure);
    return Failed;
}

}  // namespace

Run declareCustomize(CLI::App& app) {
    auto options = std::make_shared<Options>();
    const auto value = [&](const char* names, auto& variable, const char* type, const char* help) {
        return app.add_option(names, variable, help)->type_name(type)->allow_extra_args(false);
    };
    KernelCustomization& customization = options->customization;
    value("PACKAGE", customization.package, "FILE", "The package that holds the kernel")->required();
    value("KERNEL", customization.kernel, "NAME", "The kernel to customize")->required();
    value("--name", customization.name, "NAME", "Name of the customized kernel")->required();
    takesOutput(app.add_option("-o,--output", customization.output,
                               "Package for it; beside PACKAGE when only a file name"),
                "FILE")
        ->required();
    value("--param", options->params, "NAME=VALUE", "IP parameter; may be repeated");
    value("--params-file", options->paramsFile, "FILE", "File of NAME = VALUE lines; --param wins");
    value("--board", customization.board, "BOARD",
          "Board to retarget the kernel to, short or qualified name");
    value("--host-script", customization.hostScripts, "FILE", "Tcl file to load first; may be repeated");
    value("--tcl-shell", customization.tclShell, "COMMAND",
          "Command line of a Tcl shell to work in, such as tclsh");
    value("--keep-scripts", options->keepScripts, "FILE",
          "File for the scripts that are evaluated; - is standard output");
    app.add_flag("--replace-ip", customization.replacesIp,
                 "Replace an IP of the same VLNV that other kernels of FILE use as well");
    app.add_flag("--reseal", customization.renewsSeals,
                 "Go on, and seal FILE anew, although a package's digest does not hold");
    return [options, &app] {
        options->customization.jobs = jobs(app);
        return customize(*options);
    };
}

}  // namespace cli
