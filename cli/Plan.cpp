#include "cli/Plan.h"

#include "cli/Output.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace cli {
namespace {

using Json = nlohmann::ordered_json;

struct Kind {
    char mark;
    const char* word;
    std::vector<std::string> ArchiveChanges::*names;
};

constexpr Kind kinds[] = {{'+', "added", &ArchiveChanges::added},
                          {'~', "replaced", &ArchiveChanges::replaced},
                          {'-', "removed", &ArchiveChanges::removed}};

}  // namespace

void printPlan(const Kernels& kernels, const ArchiveChanges& members) {
    printKernels(kernels);
    for (const Kind& kind : kinds)
        for (const std::string& name : members.*kind.names)
            std::cout << kind.mark << ' ' << HUTPathUtils::shown(name) << '\n';
}

void printPlan(Json plan, const ArchiveChanges& members) {
    for (const Kind& kind : kinds) {
        Json& names = plan[kind.word] = Json::array();
        for (const std::string& name : members.*kind.names)
            names.push_back(jsonText(name));
    }
    print(plan);
}

void printPlan(const PlannedChange& plan, bool json) {
    Kernels kernels;
    std::transform(plan.kernels.begin(), plan.kernels.end(), std::back_inserter(kernels),
                   [](const auto& kernel) { return kernel.get(); });
    if (json) return printPlan({{"kernels", describeKernels(kernels)}}, plan.members);
    printPlan(kernels, plan.members);
}

}  // namespace cli
