#include "cli/Command.h"
#include "cli/InputFiles.h"
#include "cli/Kernels.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "containers/kernel/HCOKernelXMLReader.h"
#include "containers/kp/HKPContainerUtils.h"
#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/params/HPAParamMgr.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/Error.hpp>
#include <nlohmann/json.hpp>

namespace cli {
namespace {

struct Options {
    std::string package, kernelXml, name;
    std::string ip, shim, report, ipInstance, debugDir, hlsDir, project, topIp = ".", layout = "repo";
    std::vector<std::string> cpuSources, swEmuFiles, pdiFiles;
    bool replace = false, update = false, checkVersion = false, dryRun = false, json = false;
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

/// Calls one of the library's operations that take a whole addition.
template <class Operation>
auto with(const Options& options, Operation operation) {
    const std::string name =
        options.name.empty() ? HCOKernelXMLReader(options.kernelXml).getKernelName() : options.name;
    return operation(options.package, name, options.kernelXml, options.ip, options.cpuSources,
                     options.pdiFiles, options.swEmuFiles, options.shim, options.report, options.ipInstance,
                     options.project, options.topIp, options.debugDir, options.hlsDir, isRepoLayout(options),
                     options.replace, options.update, options.checkVersion);
}

nlohmann::ordered_json jsonTexts(const std::vector<std::string>& texts) {
    auto all = nlohmann::ordered_json::array();
    std::transform(texts.begin(), texts.end(), std::back_inserter(all), jsonText);
    return all;
}

void printPlan(const PlannedAddition& plan, bool json) {
    const auto& [added, replaced, removed] = plan.members;
    if (json)
        return print({{"kernel", describeKernel(*plan.kernel)},
                      {"added", jsonTexts(added)},
                      {"replaced", jsonTexts(replaced)},
                      {"removed", jsonTexts(removed)}});
    printKernels({plan.kernel.get()});
    for (const auto& [mark, names] :
         {std::pair{'+', &added}, std::pair{'~', &replaced}, std::pair{'-', &removed}})
        for (const std::string& name : *names)
            std::cout << mark << ' ' << HUTPathUtils::shown(name) << '\n';
}

ExitStatus add(const Options& options) {
    HPAParamMgr::setBool("kp.keepLayout", true);
    if (options.kernelXml.empty()) requireKernel(options);
    if (options.dryRun) {
        printPlan(with(options, HKPContainerUtils::planKernelAddition), options.json);
    } else {
        with(options, HKPContainerUtils::addKernelToKPContainer);
    }
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
    InputFiles inputs(app);
    const auto files = [&](const char* name, std::vector<std::string>& paths, const char* help) {
        app.add_option(name, paths, help)->type_name("FILE")->allow_extra_args(false);
    };
    const auto value = [&](const char* name, std::string& text, const char* type, const char* help) {
        return app.add_option(name, text, help)->type_name(type);
    };
    value("PACKAGE", options->package, "FILE", "The package; created where missing")->required();
    inputs.add("KERNEL.XML", options->kernelXml, "The kernel's description");
    takesDirectory(app.add_option("--ip", options->ip, "Directory of the packaged IP"));
    files("--cpu-source", options->cpuSources, "Source for CPU emulation; may be repeated");
    files("--sw-emu", options->swEmuFiles, "File for software emulation; may be repeated");
    files("--pdi", options->pdiFiles, "Device image; may be repeated");
    value("--shim", options->shim, "FILE", "Shim solution");
    inputs.add("--report", options->report, "Synthesis report to merge into the description");
    takesFile(app.add_option("--ip-instance", options->ipInstance, "Customized IP instance (.qmr)"));
    value("--debug-dir", options->debugDir, "DIR", "Directory to package as 'debug'");
    value("--hls-dir", options->hlsDir, "DIR", "Directory to package as 'hls'");
    value("--project", options->project, "ID", "Identifier of the project that made the kernel");
    value("--top-ip", options->topIp, "DIR", "Top IP directory, relative to the IP repository")
        ->capture_default_str();
    value("--name", options->name, "NAME", "Name of the kernel; read from KERNEL.XML unless given");
    takesOneOf(app.add_option("--layout", options->layout,
                              "Where the IP goes: to the package's repository or to the kernel"),
               {"repo", "kernel"})
        ->capture_default_str();
    app.add_flag("--replace", options->replace, "With --update: replace the kernel of the name");
    app.add_flag("--update", options->update,
                 "Add device images or a shim solution to the kernel of the name");
    app.add_flag("--check-version", options->checkVersion, "Refuse a package that later software wrote");
    CLI::Option* dryRun =
        app.add_flag("--dry-run", options->dryRun, "Print what would be done, and change nothing");
    app.add_flag("--json", options->json, "With --dry-run: as a JSON object")->needs(dryRun);
    app.parse_complete_callback([options] { requireKernelXmlUnlessUpdating(*options); });
    return [options, fetch = inputs.fetch()] {
        fetch();
        return add(*options);
    };
}

}  // namespace cli
