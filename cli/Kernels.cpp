#include "cli/Kernels.h"

#include "cli/Terminal.h"
#include "cli/TextTable.h"
#include "containers/kp/KernelParts.h"
#include "platform/base/Exceptions.h"
#include "platform/files/DisplayText.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <iostream>

#include <nlohmann/json.hpp>

namespace cli {
namespace {

struct Flag {
    const char* jsonName;
    std::string word;
    bool (HKPKernel::*isSet)() const;
};

/// Of the kernel itself, then of its directories, by their words.
std::vector<Flag> flags() {
    std::vector<Flag> all{{"rtl", "rtl", &HKPKernel::isRtlKernel}, {"debug", "debug", &HKPKernel::isDebug}};
    for (const KernelPart& part : kernelParts) {
        const char* suffix = part.kind == KernelPart::Kind::Directory ? "-dir" : "";
        if (part.isSet != nullptr)
            all.push_back({part.listJson, part.word + std::string(suffix), part.isSet});
    }
    std::sort(all.begin() + 2, all.end(), [](const Flag& a, const Flag& b) { return a.word < b.word; });
    return all;
}

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

/// The words of the flags that are set.
std::vector<std::string> flagsOf(const HKPKernel& kernel) {
    std::vector<std::string> words;
    for (const Flag& flag : flags())
        if ((kernel.*flag.isSet)()) words.push_back(flag.word);
    return words;
}

}  // namespace

Kernels chosenKernels(const HKPContainer& container, const std::string& package,
                      const std::optional<std::string>& name) {
    Kernels kernels;
    if (!name) {
        const auto [first, last] = container.getKPKernelRange();
        for (auto kernel = first; kernel != last; ++kernel)
            kernels.push_back(kernel->get());
    } else {
        kernels.push_back(container.getKPKernelByName(*name));
        if (kernels.front() == nullptr)
            throw HEXAlgException("Kernel '" + *name + "' was not found inside KP container '" + package +
                                  "'\n");
    }
    return kernels;
}

nlohmann::ordered_json describeKernel(const HKPKernel& kernel) {
    nlohmann::ordered_json described{
        {"name", kernel.getName()},         {"directory", kernel.getDirectory()}, {"ip", kernel.getIpDir()},
        {"topIpDir", kernel.getTopIpDir()}, {"projectId", kernel.getProjectID()}, {"flows", flowsOf(kernel)}};
    for (const Flag& flag : flags())
        described[flag.jsonName] = (kernel.*flag.isSet)();
    return described;
}

nlohmann::ordered_json describeKernels(const Kernels& kernels) {
    auto described = nlohmann::ordered_json::array();
    for (const HKPKernel* kernel : kernels)
        described.push_back(describeKernel(*kernel));
    return described;
}

void printKernels(const Kernels& kernels) {
    struct Line {
        std::string name, flows, flags;
    };
    std::vector<Line> lines;
    std::size_t nameWidth = 0;
    std::size_t flowsWidth = 0;
    for (const HKPKernel* kernel : kernels) {
        const Line line{HUTPathUtils::shown(kernel->getName()), joined(flowsOf(*kernel)),
                        joined(flagsOf(*kernel))};
        lines.push_back(line);
        nameWidth = std::max(nameWidth, line.name.size());
        flowsWidth = std::max(flowsWidth, line.flows.size());
    }
    for (Line& line : lines) {
        line.name.resize(nameWidth, ' ');
        line.flows.resize(flowsWidth, ' ');
        std::cout << line.name << "  " << line.flows << "  " << line.flags << '\n';
    }
}

void showKernels(const Kernels& kernels) {
    TextTable table(
        {{.title = "Name", .least = 12}, {.title = "Flows", .rank = 1}, {.title = "Has", .least = 8}});
    for (const HKPKernel* kernel : kernels)
        table.add({{display::displayed(kernel->getName())},
                   {joined(flowsOf(*kernel))},
                   {joined(flagsOf(*kernel))}});
    table.print(std::cout, Style::ofOutput(), outputWidth(), 0);
}

}  // namespace cli
