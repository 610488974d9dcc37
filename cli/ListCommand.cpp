#include "cli/Command.h"
#include "cli/Output.h"
#include "containers/kp/HKPContainer.h"
#include "containers/kp/HKPContainerUtils.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace cli {
namespace {

using Json = nlohmann::ordered_json;

struct Flag {
    const char* jsonName;
    const char* word;
    bool (HKPKernel::*isSet)() const;
};

constexpr Flag flags[] = {
    {"rtl", "rtl", &HKPKernel::isRtlKernel},
    {"debug", "debug", &HKPKernel::isDebug},
    {"debugDir", "debug-dir", &HKPKernel::getIsDebugDir},
    {"hlsDir", "hls-dir", &HKPKernel::getIsHlsDir},
    {"pdiDir", "pdi", &HKPKernel::getIsPdiDir},
    {"shimSolnDir", "shim", &HKPKernel::getIsShimSolnDir},
    {"swEmuDir", "sw-emu", &HKPKernel::getIsSwEmuDir},
};

std::vector<std::string> flowsOf(const HKPKernel& kernel) {
    std::vector<std::string> flows;
    const auto [first, last] = kernel.getSupportedFlowRange();
    std::transform(first, last, std::back_inserter(flows), HKPKernel::getFlowAsStr);
    return flows;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ",") + word;
    return text.empty() ? "-" : text;
}

Json describe(const HKPKernel& kernel) {
    Json described{
        {"name", kernel.getName()},         {"directory", kernel.getDirectory()}, {"ip", kernel.getIpDir()},
        {"topIpDir", kernel.getTopIpDir()}, {"projectId", kernel.getProjectID()}, {"flows", flowsOf(kernel)}};
    for (const Flag& flag : flags)
        described[flag.jsonName] = (kernel.*flag.isSet)();
    return described;
}

std::string version(std::uint32_t major, std::uint32_t minor) {
    return std::to_string(major) + "." + std::to_string(minor);
}

void printJson(const HKPContainer& container) {
    Json kernels = Json::array();
    const auto [first, last] = container.getKPKernelRange();
    for (auto kernel = first; kernel != last; ++kernel)
        kernels.push_back(describe(**kernel));
    const auto [firstCache, lastCache] = container.getIpCachesRange();
    print({{"formatVersion", version(container.getVersionMajor(), container.getVersionMinor())},
           {"softwareVersion",
            version(container.getSoftwareVersionMajor(), container.getSoftwareVersionMinor())},
           {"ipCaches", std::vector<std::string>(firstCache, lastCache)},
           {"kernels", std::move(kernels)}});
}

void printLines(const HKPContainer& container) {
    struct Line {
        std::string name, flows, flags;
    };
    std::vector<Line> lines;
    std::size_t nameWidth = 0;
    std::size_t flowsWidth = 0;
    const auto [first, last] = container.getKPKernelRange();
    for (auto kernel = first; kernel != last; ++kernel) {
        std::vector<std::string> words;
        for (const Flag& flag : flags) {
            if ((**kernel.*flag.isSet)()) words.emplace_back(flag.word);
        }
        lines.push_back(
            {HUTPathUtils::shown((*kernel)->getName()), joined(flowsOf(**kernel)), joined(words)});
        nameWidth = std::max(nameWidth, lines.back().name.size());
        flowsWidth = std::max(flowsWidth, lines.back().flows.size());
    }
    for (Line& line : lines) {
        line.name.resize(nameWidth, ' ');
        line.flows.resize(flowsWidth, ' ');
        std::cout << line.name << "  " << line.flows << "  " << line.flags << '\n';
    }
}

}  // namespace

Run declareList(CLI::App& app) {
    auto package = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    app.add_option("PACKAGE", *package, "The package")->type_name("FILE")->required();
    app.add_flag("--json", *json, "As a JSON object");
    return [=] {
        HKPContainer container;
        HKPContainerUtils::requireKPContainer_(*package);
        HKPContainerUtils::parseKPContainerIntoObject_(*package, container);
        *json ? printJson(container) : printLines(container);
        return Done;
    };
}

}  // namespace cli
