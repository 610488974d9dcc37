#include "cli/Command.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "containers/kp/HKPContainerUtils.h"
#include "platform/files/HUTPathUtils.h"

#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace cli {
namespace {

struct Options {
    std::string package;
    HKPKernel::SupportedFlowType target = HKPKernel::SYSTEM;
    bool json = false;
};

/// Which kernel lacks the target's flow; empty when none does. A package that cannot be
/// read throws.
std::string reasonAgainst(const Options& options, std::vector<std::string>& names) {
    try {
        HKPContainerUtils::validateKPAndGetKernelNames(options.package, options.target, names);
        return {};
    } catch (const HKPKernelRefused& refusal) {
        std::string reason = refusal.what();
        while (reason.ends_with('\n'))
            reason.pop_back();
        return reason;
    }
}

ExitStatus validate(const Options& options) {
    std::vector<std::string> names;
    const std::string reason = reasonAgainst(options, names);
    if (options.json) {
        nlohmann::ordered_json answer{{"target", HKPKernel::getFlowAsStr(options.target)},
                                      {"valid", reason.empty()},
                                      {"kernels", names}};
        if (!reason.empty()) answer["reason"] = HUTPathUtils::shown(reason);
        print(answer);
    } else if (reason.empty()) {
        for (const std::string& name : names)
            std::cout << HUTPathUtils::shown(name) << '\n';
    }
    if (!reason.empty() && !options.json) complain("error", reason);
    return reason.empty() ? Done : Found;
}

}  // namespace

Run declareValidate(CLI::App& app) {
    auto options = std::make_shared<Options>();
    std::map<std::string, HKPKernel::SupportedFlowType> targets;
    for (const auto flow : {HKPKernel::SYSTEM, HKPKernel::HW_EMU, HKPKernel::CPU_EMU})
        targets[HKPKernel::getFlowAsStr(flow)] = flow;
    app.add_option("PACKAGE", options->package, "The package")->type_name("FILE")->required();
    const auto setTarget = [options, targets](const std::string& word) {
        options->target = targets.at(word);
    };
    takesOneOf(app.add_option_function<std::string>("--target", setTarget,
                                                    "The target whose flow the kernels must have"),
               {"hw", "hw_emu", "sw_emu"})
        ->required();
    app.add_flag("--json", options->json, "As a JSON object");
    return [options] { return validate(*options); };
}

}  // namespace cli
