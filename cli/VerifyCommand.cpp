#include "cli/Command.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "containers/kp/PackageVerification.h"
#include "platform/files/HUTPathUtils.h"

#include <iostream>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

namespace cli {
namespace {

void printJson(const PackageVerification& verification) {
    auto findings = nlohmann::ordered_json::array();
    for (const PackageFinding& finding : verification.findings)
        findings.push_back({{"code", finding.code},
                            {"member", HUTPathUtils::shown(finding.member)},
                            {"text", HUTPathUtils::shown(finding.text)}});
    print({{"digest", PackageVerification::digestText(verification.digest)},
           {"findings", std::move(findings)}});
}

void printLines(const PackageVerification& verification) {
    std::cout << "digest: " << PackageVerification::digestText(verification.digest) << '\n';
    for (const PackageFinding& finding : verification.findings)
        std::cout << finding.code << ": " << HUTPathUtils::shown(finding.text) << '\n';
}

}  // namespace

Run declareVerify(CLI::App& app) {
    auto package = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    app.add_option("PACKAGE", *package, "The package")->type_name("FILE")->required();
    app.add_flag("--json", *json, "As a JSON object");
    return [=, &app] {
        const PackageVerification verification = PackageVerification::of(*package, jobs(app));
        *json ? printJson(verification) : printLines(verification);
        return verification.isClean() ? Done : Found;
    };
}

}  // namespace cli
