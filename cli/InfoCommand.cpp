#include "cli/Command.h"
#include "containers/kp/HKPContainerUtils.h"

#include <iostream>
#include <memory>
#include <string>

namespace cli {

Run declareInfo(CLI::App& app) {
    auto package = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    app.add_option("PACKAGE", *package, "The package")->type_name("FILE")->required();
    app.add_flag("--json", *json, "As a JSON object");
    return [=] {
        *json ? HKPContainerUtils::getInfoAsStreamJson(*package, std::cout)
              : HKPContainerUtils::getInfoAsStreamTxt(*package, std::cout);
        return Done;
    };
}

}  // namespace cli
