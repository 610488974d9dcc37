#include "cli/Command.h"
#include "containers/kp/HKPContainerUtils.h"
#include "platform/files/HUTPathUtils.h"

#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

namespace cli {
namespace {

/// The lines without what would upset a terminal.
void printLines(const std::string& package) {
    std::ostringstream report;
    HKPContainerUtils::getInfoAsStreamTxt(package, report);
    std::istringstream lines(std::move(report).str());
    for (std::string line; std::getline(lines, line);)
        std::cout << HUTPathUtils::shown(line) << '\n';
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
