#include "cli/Command.h"
#include "cli/Kernels.h"
#include "cli/Output.h"
#include "cli/Terminal.h"
#include "containers/kp/HKPContainerUtils.h"
#include "containers/overview/Wording.h"

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace cli {
namespace {

void printJson(const HKPContainer& container, const Kernels& kernels) {
    const auto [firstCache, lastCache] = container.getIpCachesRange();
    using kfab::overview::versionText;
    print({{"formatVersion", versionText(container.getVersionMajor(), container.getVersionMinor())},
           {"softwareVersion",
            versionText(container.getSoftwareVersionMajor(), container.getSoftwareVersionMinor())},
           {"ipCaches", std::vector<std::string>(firstCache, lastCache)},
           {"kernels", describeKernels(kernels)}});
}

}  // namespace

Run declareList(CLI::App& app) {
    auto package = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    app.add_option("PACKAGE", *package, "The package")->type_name("FILE")->required();
    app.add_flag("--json", *json, "As a JSON object");
    return [=] {
        HKPContainer container;
        HKPContainerUtils::openKPContainer_(*package, container);
        const auto kernels = chosenKernels(container, *package, std::nullopt);
        if (*json) {
            printJson(container, kernels);
        } else {
            isOnTerminal(STDOUT_FILENO) ? showKernels(kernels) : printKernels(kernels);
        }
        return Done;
    };
}

}  // namespace cli
