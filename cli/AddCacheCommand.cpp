#include "cli/Command.h"
#include "containers/kp/HKPContainerUtils.h"
#include "platform/base/Exceptions.h"

#include <memory>
#include <string>

namespace cli {
namespace {

/// A package with caches has the repository layout: to stamp it on another would misplace the IP of all
/// kernels.
void requireRepositoryLayout(const std::string& package) {
    HKPContainer container;
    const bool exists = HKPContainerUtils::parseKPContainerIntoObject_(package, container);
    if (exists && container.getVersionMajor() < 3)
        throw HEXAlgException("'" + package + "' has the layout 'kernel', which has no IP caches");
}

}  // namespace

Run declareAddCache(CLI::App& app) {
    auto package = std::make_shared<std::string>();
    auto directory = std::make_shared<std::string>();
    app.add_option("PACKAGE", *package, "The package")->type_name("FILE")->required();
    app.add_option("DIR", *directory,
                   "Each directory from here down that holds a '.qmr' file is a cache of its own name")
        ->type_name("DIR")
        ->required();
    return [=] {
        requireRepositoryLayout(*package);
        HKPContainerUtils::appendIPCacheDir(*package, *directory);
        return Done;
    };
}

}  // namespace cli
