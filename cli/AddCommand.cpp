#include "cli/Command.h"
#include "containers/kernel/HCOKernelXMLReader.h"
#include "containers/kp/HKPContainerUtils.h"
#include "platform/base/Exceptions.h"
#include "platform/params/HPAParamMgr.h"

#include <memory>
#include <string>
#include <vector>

#include <CLI/Error.hpp>

namespace cli {
namespace {

struct Options {
    std::string package, kernelXml, name;
    std::string ip, shim, report, ipInstance, debugDir, hlsDir, project, topIp = ".", layout = "repo";
    std::vector<std::string> cpuSources, swEmuFiles, pdiFiles;
    bool replace = false, update = false, checkVersion = false;
};

bool isRepoLayout(const Options& options) {
    return options.layout == "repo";
}

/// Without a description only a kernel that is there can be updated.
void requireKernel(const Options& options) {
    HKPContainer present;
    HKPContainerUtils::parseKPContainerIntoObject_(options.package, present);
    if (present.getKPKernelByName(options.name) == nullptr)
        throw HEXAlgException("Kernel '" + options.name + "' is not in '" + options.package +
                              "'; to add it, give its KERNEL.XML");
}

ExitStatus add(const Options& options) {
    const std::string name =
        options.name.empty() ? HCOKernelXMLReader(options.kernelXml).getKernelName() : options.name;
    HPAParamMgr::setBool("kp.keepLayout", true);
    if (options.kernelXml.empty()) requireKernel(options);
    HKPContainerUtils::addKernelToKPContainer(
        options.package, name, options.kernelXml, options.ip, options.cpuSources, options.pdiFiles,
        options.swEmuFiles, options.shim, options.report, options.ipInstance, options.project, options.topIp,
        options.debugDir, options.hlsDir, isRepoLayout(options), options.replace, options.update,
        options.checkVersion);
    return Done;
}

void requireKernelXmlUnlessUpdating(const Options& options) {
    const bool onlyUpdates = options.update && !options.replace && !options.name.empty();
    if (options.kernelXml.empty() && !onlyUpdates)
        throw CLI::RequiredError("KERNEL.XML (it may be left out with --update --name)");
}

}  // namespace

Run declareAdd(CLI::App& app) {
    auto options = std::make_shared<Options>();
    const auto repeatable = [&](const char* flags, std::vector<std::string>& values, const char* help) {
        app.add_option(flags, values, help)->allow_extra_args(false);
    };
    app.add_option("PACKAGE", options->package, "The package; created where missing")->required();
    app.add_option("KERNEL.XML", options->kernelXml, "The kernel's description");
    app.add_option("--ip", options->ip, "Directory of the packaged IP")->check(CLI::ExistingDirectory);
    repeatable("--cpu-source", options->cpuSources, "Source for CPU emulation; may be repeated");
    repeatable("--sw-emu", options->swEmuFiles, "File for software emulation; may be repeated");
    repeatable("--pdi", options->pdiFiles, "Device image; may be repeated");
    app.add_option("--shim", options->shim, "Shim solution");
    app.add_option("--report", options->report, "Synthesis report to merge into the description");
    app.add_option("--ip-instance", options->ipInstance, "Customized IP instance (.qmr)")
        ->check(CLI::ExistingFile);
    app.add_option("--debug-dir", options->debugDir, "Directory to package as 'debug'");
    app.add_option("--hls-dir", options->hlsDir, "Directory to package as 'hls'");
    app.add_option("--project", options->project, "Identifier of the project that made the kernel");
    app.add_option("--top-ip", options->topIp, "Top IP directory, relative to the IP")->capture_default_str();
    app.add_option("--name", options->name, "Name of the kernel; read from KERNEL.XML unless given");
    app.add_option("--layout", options->layout,
                   "Where the IP goes: to the package's repository or to the kernel")
        ->check(CLI::IsMember({"repo", "kernel"}))
        ->capture_default_str();
    app.add_flag("--replace", options->replace, "With --update: replace the kernel of the name");
    app.add_flag("--update", options->update,
                 "Add device images or a shim solution to the kernel of the name");
    app.add_flag("--check-version", options->checkVersion, "Refuse a package that later software wrote");
    app.parse_complete_callback([options] { requireKernelXmlUnlessUpdating(*options); });
    return [options] { return add(*options); };
}

}  // namespace cli
