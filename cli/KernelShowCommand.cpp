#include "cli/Command.h"
#include "cli/InputFiles.h"
#include "cli/Output.h"
#include "containers/kernel/HCOKernelXMLReader.h"
#include "platform/files/HUTPathUtils.h"

#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace cli {
namespace {

using Json = nlohmann::ordered_json;
using kfab::kernel::ArgDesc;
using kfab::kernel::KernelDef;
using kfab::kernel::PortDesc;

Json describe(const ArgDesc& arg) {
    return {{"name", arg.name},
            {"addressQualifier", arg.addressQualifier},
            {"id", arg.id},
            {"port", arg.port},
            {"size", arg.size},
            {"offset", arg.offset},
            {"hostOffset", arg.hostOffset},
            {"hostSize", arg.hostSize},
            {"type", arg.type},
            {"memSize", arg.memSize},
            {"origName", arg.origName},
            {"origUse", arg.origUse}};
}

Json describe(const PortDesc& port) {
    return {{"name", port.name},           {"mode", port.mode},         {"range", port.range},
            {"dataWidth", port.dataWidth}, {"portType", port.portType}, {"base", port.base}};
}

template <class Desc>
Json describeAll(const std::vector<Desc>& descs) {
    Json all = Json::array();
    for (const Desc& desc : descs)
        all.push_back(describe(desc));
    return all;
}

Json describe(const KernelDef& kernel) {
    return {{"name", kernel.name},
            {"language", kernel.language},
            {"vlnv", kernel.vlnv},
            {"attributes", kernel.attributes},
            {"hash", kernel.hash},
            {"preferredWorkGroupSizeMultiple", kernel.preferredWorkGroupSizeMultiple},
            {"workGroupSize", kernel.workGroupSize},
            {"debug", kernel.debug},
            {"compileOptions", kernel.compileOptions},
            {"profileType", kernel.profileType},
            {"args", describeAll(kernel.args)},
            {"ports", describeAll(kernel.ports)}};
}

/// The values of an object that are neither lists nor empty, a line each.
void printValues(const Json& object, const char* indent) {
    for (const auto& [key, value] : object.items()) {
        if (value.is_array()) continue;
        const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
        if (!text.empty()) std::cout << indent << key << ": " << HUTPathUtils::shown(text) << '\n';
    }
}

void printLines(const Json& kernel) {
    printValues(kernel, "");
    for (const auto& [title, key] : {std::pair{"argument", "args"}, std::pair{"port", "ports"}}) {
        for (const Json& desc : kernel[key]) {
            std::cout << title << '\n';
            printValues(desc, "  ");
        }
    }
}

}  // namespace

Run declareKernelShow(CLI::App& app) {
    auto file = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    InputFiles inputs(app);
    inputs.add("KERNEL.XML", *file, "The kernel description")->required();
    app.add_flag("--json", *json, "As a JSON object");
    return [=, fetch = inputs.fetch()] {
        fetch();
        const Json kernel = describe(HCOKernelXMLReader(*file).getKernelDef());
        *json ? print(kernel) : printLines(kernel);
        return Done;
    };
}

}  // namespace cli
