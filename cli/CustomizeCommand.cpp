#include "cli/Advice.h"
#include "cli/Command.h"
#include "cli/IpParams.h"
#include "cli/Kernels.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "containers/customizer/Customizer.h"
#include "containers/explorer/KernelLayout.h"
#include "containers/kp/HKPContainerUtils.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/tcl/TaskManager.h"
#include "platform/tcl/TclShell.h"
#include "platform/tcl/Words.h"

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

using kfab::kernel::Customizer;
using tkq::tcltasks::dont_record_command;
using tkq::tcltasks::evaluator_scope;
using tkq::tcltasks::recorder_scope;
using tkq::tcltasks::task_manager;

struct Options {
    std::string package, kernel, name, output, board, paramsFile, tclShell, keepScripts;
    std::vector<std::string> params, hostScripts;
    bool replaceIp = false, reseal = false;
};

/// What a user can do about a failure, if it is that nobody knows the host's commands.
std::string_view hintOn(const std::exception& failure) {
    const bool isOfTcl = dynamic_cast<const tkq::tcltasks::tcl_error*>(&failure) != nullptr;
    if (!isOfTcl || std::string_view(failure.what()).find("invalid command name") == std::string_view::npos)
        return {};
    return "; give a script or a shell that knows the host's commands with --host-script or --tcl-shell";
}

/// Keeps one working directory for its lifetime, so that all steps meet in it, and loses nothing that is in a
/// package unless the options say so.
class OneDirectoryCustomizer : public Customizer {
public:
    OneDirectoryCustomizer(const Options& options, const GivenParams& params)
        : Customizer(disk::absolute(options.package), options.kernel), options_(options) {
        setWorkingDirPath_(Customizer::getWorkingDirPath());
        disk::makeDirectories(Customizer::getWorkingDirPath(), 0700);
        withNewKernelName(options.name).withOutputFilePath(options.output).withTargetBoard(options.board);
        Params values;
        for (const auto& [name, param] : params)
            values[name] = param.value;
        withParams(values);
    }

    /// Throws where the output package does not take a kernel of the new name.
    void requirePlace() const {
        KernelAddition addition;
        addition.kpPath = getOutputFilePath();
        addition.kernelName = options_.name;
        prepareAddition_(addition);
        withAdvice([&] { HKPContainerUtils::requirePlaceForKernel(addition); });
    }

protected:
    void prepareExtraction_(KernelExtraction& extraction) const override {
        extraction.requireSeal = !options_.reseal;
    }
    void prepareAddition_(KernelAddition& addition) const override {
        addition.otherLayout = OtherLayout::Refuse;
        addition.changesOtherIps = options_.replaceIp;
        addition.brokenSeal = options_.reseal ? BrokenSeal::Renew : BrokenSeal::Refuse;
    }
    std::string reasonOf_(const std::exception& failure) const override {
        return textWithAdvice(failure).append(hintOn(failure));
    }

private:
    const Options& options_;
};

/// Only what has an IP in the package can be customized.
const HKPKernel& kernelWithIp(const HKPContainer& container, const Options& options) {
    const HKPKernel& kernel = *chosenKernels(container, options.package, options.kernel).front();
    if (kernel.getIpDir().empty() || !layout::hasRepository(container.getVersionMajor()))
        throw HEXAlgException("Kernel '" + kernel.getName() + "' cannot be customized: '" + options.package +
                              "' holds no packaged IP of it in '" + layout::ipRepo + "'");
    return kernel;
}

/// The scripts that load those of the host.
std::vector<std::string> hostScripts(const Options& options) {
    std::vector<std::string> scripts;
    for (const std::string& path : options.hostScripts) {
        if (!HUTFile::isFile(path)) throw HEXFileNotFoundException(path);
        const std::string absolute = disk::absolute(path);
        if (!tkq::tcltasks::is_braced_word(absolute))
            throw HEXAlgException("The path '" + absolute + "' cannot be used in a script");
        scripts.push_back("source {" + absolute + "}");
    }
    return scripts;
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

/// Those that are given, after the kernel's IP was found to take them.
GivenParams paramsOf(const Options& options) {
    HKPContainer container;
    const auto package = HKPContainerUtils::openKPContainer_(options.package, container);
    GivenParams params = collectParams(options.paramsFile, options.params);
    const HKPKernel& kernel = kernelWithIp(container, options);
    requireParams(params, *package, kernel);
    return params;
}

ExitStatus customize(const Options& options) {
    const GivenParams params = paramsOf(options);
    makePathsOfEnvironmentAbsolute();
    OneDirectoryCustomizer customizer(options, params);
    customizer.requirePlace();
    customizer.withOutputFilePath(disk::absolute(customizer.getOutputFilePath()));
    const std::vector<std::string> loading = hostScripts(options);
    std::optional<ScriptFile> kept;
    if (!options.keepScripts.empty()) kept.emplace(options.keepScripts);

    std::optional<evaluator_scope> shell;
    if (!options.tclShell.empty())
        shell.emplace(std::make_shared<tkq::tcltasks::tcl_shell>(options.tclShell));
    for (const std::string& script : loading)
        task_manager::instance().eval_in_tcl_throw(script, dont_record_command, false);
    std::optional<recorder_scope> recorder;
    if (kept) recorder.emplace([&](const std::string& script, auto) { kept->keep(script); });
    if (customizer.execute()) return Done;
    HUTInterrupt::check();
    // Not thrown: it counts even when nobody reads the scripts any more.
    complain("error", customizer.getErrorMessage());
    return Failed;
}

}  // namespace

Run declareCustomize(CLI::App& app) {
    auto options = std::make_shared<Options>();
    const auto value = [&](const char* names, auto& variable, const char* type, const char* help) {
        return app.add_option(names, variable, help)->type_name(type)->allow_extra_args(false);
    };
    value("PACKAGE", options->package, "FILE", "The package that holds the kernel")->required();
    value("KERNEL", options->kernel, "NAME", "The kernel to customize")->required();
    value("--name", options->name, "NAME", "Name of the customized kernel")->required();
    takesOutput(app.add_option("-o,--output", options->output,
                               "Package for it; beside PACKAGE when only a file name"),
                "FILE")
        ->required();
    value("--param", options->params, "NAME=VALUE", "IP parameter; may be repeated");
    value("--params-file", options->paramsFile, "FILE", "File of NAME = VALUE lines; --param wins");
    value("--board", options->board, "BOARD", "Board to retarget the kernel to, short or qualified name");
    value("--host-script", options->hostScripts, "FILE", "Tcl file to load first; may be repeated");
    value("--tcl-shell", options->tclShell, "COMMAND",
          "Command line of a Tcl shell to work in, such as tclsh");
    value("--keep-scripts", options->keepScripts, "FILE",
          "File for the scripts that are evaluated; - is standard output");
    app.add_flag("--replace-ip", options->replaceIp,
                 "Replace an IP of the same VLNV that other kernels of FILE use as well");
    app.add_flag("--reseal", options->reseal,
                 "Go on, and seal FILE anew, although a package's digest does not hold");
    return [options] { return customize(*options); };
}

}  // namespace cli
