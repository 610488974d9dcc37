#include "cli/Advice.h"
#include "cli/Command.h"
#include "cli/Kernels.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "containers/kp/HKPContainerUtils.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/params/HPAParamMgr.h"

#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace cli {
namespace {

using Json = nlohmann::ordered_json;
using kfab::kernel::ExplorerIface;
using Version = std::shared_ptr<const ArchiveSnapshot>;

struct Options {
    std::string package, directory;
    std::optional<std::string> kernel;
    bool ownIp = false, checkVersion = false, force = false, json = false;
    std::size_t jobs = 1;
};

std::vector<std::string> namesToExtract(const Options& options, const HKPContainer& container) {
    std::vector<std::string> names;
    for (const HKPKernel* kernel : chosenKernels(container, options.package, options.kernel))
        names.push_back(kernel->getName());
    return names;
}

std::shared_ptr<ExplorerIface> extractKernels(const Options& options, const Version& version) {
    const KernelExtraction request{
        .kpPath = options.package,
        .kernelName = options.kernel.value_or(""),
        .destination = options.directory,
        .checkVersion = options.checkVersion || HPAParamMgr::getBool("kp.enableVersionCheck", false),
        .replacesFiles = options.force,
        .ownIp = options.ownIp,
        .version = version,
        .jobs = options.jobs};
    return options.kernel ? HKPContainerUtils::extractKernel(request).explorer
                          : HKPContainerUtils::extractAllKernels(request);
}

Json describe(const std::string& name, const ExtractedPlaces& places) {
    Json described{{"name", jsonText(name)}, {"root", jsonText(places.root)}};
    if (!places.ip.empty()) described["ipDir"] = jsonText(places.ip);
    if (!places.ipCache.empty()) described["ipCacheDir"] = jsonText(places.ipCache);
    return described;
}

/// While it lives, keeps what the library says on std::cout: a line for each kernel whose description it
/// cannot read. Standard output is for the answer alone.
class KeptWords {
public:
    KeptWords() : before_(std::cout.rdbuf(words_.rdbuf())) {}
    ~KeptWords() { std::cout.rdbuf(before_); }
    KeptWords(const KeptWords&) = delete;
    KeptWords& operator=(const KeptWords&) = delete;

    std::string nextLine() {
        std::string line;
        std::getline(words_, line);
        return line;
    }

private:
    std::stringstream words_;
    std::streambuf* before_;
};

/// Extracts the kernels and describes each. One whose description cannot be read is complained of.
std::optional<Json> extractAndDescribe(const Options& options) {
    HKPContainer container;
    const Version version = HKPContainerUtils::openKPContainer_(options.package, container);
    const std::vector<std::string> names = namesToExtract(options, container);
    KeptWords words;
    std::shared_ptr<ExplorerIface> explorer;
    withAdvice([&] { explorer = extractKernels(options, version); });
    HUTInterrupt::check();  // the explorer takes work that is called off for a description it cannot read
    std::optional<Json> kernels = Json::array();
    for (const std::string& name : names) {
        const ExtractedPlaces places = placesOf(name, *explorer);
        if (places.root.empty()) {
            complain("error", "Kernel '" + name + "' was extracted, but its description in '" +
                                  options.directory + "' cannot be read: " + words.nextLine());
            kernels.reset();
        } else if (kernels) {
            kernels->push_back(describe(name, places));
        }
    }
    return kernels;
}

ExitStatus extract(const Options& options) {
    const std::optional<Json> kernels = extractAndDescribe(options);
    if (!kernels) return Failed;
    if (options.json) {
        print({{"kernels", *kernels}});
    } else {
        for (const Json& kernel : *kernels)
            std::cout << HUTPathUtils::shown(kernel["root"].get<std::string>()) << '\n';
    }
    return Done;
}

}  // namespace

Run declareExtract(CLI::App& app) {
    auto options = std::make_shared<Options>();
    app.add_option("PACKAGE", options->package, "The package")->type_name("FILE")->required();
    CLI::Option* kernel =
        app.add_option("KERNEL", options->kernel, "Only this kernel, in any case of letters")
            ->type_name("NAME");
    takesOutput(app.add_option("-d,--directory", options->directory, "Where to; created where missing"),
                "DIR")
        ->required();
    app.add_flag("--own-ip", options->ownIp, "Of the IP repository only what KERNEL names as its IP")
        ->needs(kernel);
    app.add_flag("--check-version", options->checkVersion, "Refuse a package that later software wrote");
    app.add_flag("--force", options->force, "Replace files of kernels that are there");
    app.add_flag("--json", options->json, "As a JSON object");
    return [options, &app] {
        options->jobs = jobs(app);
        return extract(*options);
    };
}

}  // namespace cli
