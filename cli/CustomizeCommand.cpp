#include "cli/Command.h"
#include "cli/Kernels.h"
#include "cli/Output.h"
#include "cli/Signals.h"
#include "containers/customizer/Customizer.h"
#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"
#include "platform/tcl/TaskManager.h"
#include "platform/tcl/TclShell.h"
#include "platform/tcl/Words.h"

#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <CLI/Error.hpp>
#include <boost/algorithm/string/trim.hpp>

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
};

/// Keeps one working directory for its lifetime, so that all steps meet in it.
class OneDirectoryCustomizer : public Customizer {
public:
    OneDirectoryCustomizer(const std::string& package, const std::string& kernel)
        : Customizer(package, kernel) {
        setWorkingDirPath_(Customizer::getWorkingDirPath());
    }

protected:
    void prepareAddition_(KernelAddition& addition) const override {
        addition.otherLayout = OtherLayout::Refuse;
        addition.changesOtherIps = false;
        addition.brokenSeal = BrokenSeal::Refuse;
    }
};

/// Takes "NAME=VALUE" apart; blanks around the name do not count, those of the value do.
std::pair<std::string, std::string> takeApart(const std::string& place, const std::string& text) {
    const auto equals = text.find('=');
    const std::string name = boost::algorithm::trim_copy(text.substr(0, equals));
    if (equals == std::string::npos || name.empty())
        throw HEXAlgException(place + ": expected NAME=VALUE, found '" + text + "'");
    return {name, text.substr(equals + 1)};
}

Customizer::Params paramsOfFile(const std::string& path) {
    Customizer::Params params;
    std::istringstream file(HUTFile::readFile(path));
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        boost::algorithm::trim(line);
        if (line.empty() || line.front() == '#') continue;
        const auto [name, value] = takeApart(path + ":" + std::to_string(number), line);
        params[name] = boost::algorithm::trim_copy(value);
    }
    return params;
}

Customizer::Params collectParams(const Options& options) {
    Customizer::Params params;
    if (!options.paramsFile.empty()) params = paramsOfFile(options.paramsFile);
    for (const std::string& param : options.params) {
        const auto [name, value] = takeApart("--param", param);
        params[name] = value;
    }
    return params;
}

/// The kernel's name as the package spells it. Only what has an IP in the package can be customized.
std::string nameInPackage(const Options& options) {
    HKPContainer container;
    readPackage(options.package, container);
    const HKPKernel& kernel = *chosenKernels(container, options.package, options.kernel).front();
    if (kernel.getIpDir().empty() || container.getVersionMajor() < 3)
        throw HEXAlgException("Kernel '" + kernel.getName() + "' cannot be customized: '" + options.package +
                              "' holds no packaged IP of it in 'ip_repo'");
    return kernel.getName();
}

void loadHostScripts(const Options& options) {
    for (const std::string& path : options.hostScripts) {
        if (!HUTFile::isFile(path)) throw HEXFileNotFoundException(path);
        if (!tkq::tcltasks::is_braced_word(path))
            throw HEXAlgException("The path '" + path + "' cannot be used in a script");
        task_manager::instance().eval_in_tcl_throw("source {" + path + "}", dont_record_command, false);
    }
}

/// What a user can do about a failure, if it is that nobody knows the host's commands.
std::string hintFor(const std::string& failure) {
    if (failure.find("invalid command name") == std::string::npos) return {};
    return "; give a script or a shell that knows the host's commands with --host-script or --tcl-shell";
}

ExitStatus customize(const Options& options) {
    std::optional<evaluator_scope> shell;
    if (!options.tclShell.empty())
        shell.emplace(std::make_shared<tkq::tcltasks::tcl_shell>(options.tclShell));
    std::ofstream keptFile;
    std::optional<recorder_scope> recorder;
    OneDirectoryCustomizer customizer(options.package, nameInPackage(options));
    customizer.withNewKernelName(options.name)
        .withOutputFilePath(options.output)
        .withTargetBoard(options.board)
        .withParamsFile(options.paramsFile)
        .withParams(collectParams(options));
    loadHostScripts(options);
    if (!options.keepScripts.empty()) {
        const bool isPrinted = options.keepScripts == "-";
        if (!isPrinted) keptFile.open(options.keepScripts);
        if (!keptFile) throw HEXAlgException("Failed to write '" + options.keepScripts + "'");
        recorder.emplace([&, &kept = isPrinted ? std::cout : keptFile](const std::string& script, auto) {
            kept << script << (script.ends_with('\n') ? "" : "\n") << std::flush;
            if (!keptFile) throw HEXAlgException("Failed to write '" + options.keepScripts + "'");
        });
    }
    if (customizer.execute()) return Done;
    // Not thrown: it counts even when nobody reads the scripts any more.
    const std::string& reason = customizer.getErrorMessage();
    if (caughtSignal() == 0)
        complain("error",
                 reason.empty() ? "Failed to create the working directory" : reason + hintFor(reason));
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
    value("-o,--output", options->output, "FILE", "Package for it; beside PACKAGE when only a file name")
        ->required();
    value("--param", options->params, "NAME=VALUE", "IP parameter; may be repeated");
    value("--params-file", options->paramsFile, "FILE", "File of NAME = VALUE lines; --param wins");
    value("--board", options->board, "BOARD", "Board to retarget the kernel to, short or qualified name");
    value("--host-script", options->hostScripts, "FILE", "Tcl file to load first; may be repeated");
    value("--tcl-shell", options->tclShell, "COMMAND",
          "Command line of a Tcl shell to work in, such as tclsh");
    value("--keep-scripts", options->keepScripts, "FILE",
          "File for the scripts that are evaluated; - is standard output");
    return [options] { return customize(*options); };
}

}  // namespace cli
