#include "cli/Command.h"
#include "containers/kp/HKPContainerUtils.h"
#include "platform/params/HPAParamMgr.h"

#include <memory>
#include <string>

namespace cli {

Run declareAddCache(CLI::App& app) {
    auto package = std::make_shared<std::string>();
    auto directory = std::make_shared<std::string>();
    app.add_option("PACKAGE", *package, "The package")->type_name("FILE")->required();
    app.add_option("DIR", *directory,
                   "Each directory from here down that holds a '.qmr' file is a cache of its own name")
        ->type_name("DIR")
        ->required();
    return [=] {
        HPAParamMgr::setBool("kp.keepLayout", true);
        HKPContainerUtils::appendIPCacheDir(*package, *directory);
        return Done;
    };
}

}  // namespace cli
