#include "cli/Command.h"
#include "cli/InputFiles.h"
#include "cli/Output.h"
#include "containers/kernel/DefinitionFields.h"
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
using kfab::kernel::KernelDef;

template <class Desc, class Fields>
Json describe(const Desc& desc, const Fields& fields) {
    Json described = Json::object();
    definition::forEach(desc, fields,
                        [&](const char* name, const auto& value, auto) { described[name] = value; });
    return described;
}

template <class Desc, class Fields>
Json describeAll(const std::vector<Desc>& descs, const Fields& fields) {
    Json all = Json::array();
    for (const Desc& desc : descs)
        all.push_back(describe(desc, fields));
    return all;
}

Json describe(const KernelDef& kernel) {
    Json described = describe(kernel, definition::kernelFields);
    described["args"] = describeAll(kernel.args, definition::argFields);
    described["ports"] = describeAll(kernel.ports, definition::portFields);
    return described;
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
