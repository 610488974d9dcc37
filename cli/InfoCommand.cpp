#include "cli/Command.h"
#include "containers/kp/HKPContainerUtils.h"
#include "platform/files/HUTPathUtils.h"

#include <iostream>
#include <memory>
#include <sstream>
#include <string>

namespace cli {
namespace {

/// Written at once: the report flushes each of its lines.
void printLines(const std::string& package) {
    std::ostringstream report;
    HKPContainerUtils::getInfoAsStreamTxt(package, report, HUTPathUtils::shown);
    std::cout << report.view();
}

}  // namespace

Run declareInfo(CLI::App& app) {
    auto package = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    app.add_option("PACKAGE", *package, "The package")->type_name("FILE")->required();
    app.add_flag("--json", *json, "As a JSON object");
    return [=] {
        *json ? HKPContainerUtils::getInfoAsStreamJson(*package, std::cout) : printLines(*package);
        return Done;
    };
}

}  // namespace cli
