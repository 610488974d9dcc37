#include "cli/Command.h"
#include "cli/Kernels.h"
#include "cli/Output.h"
#include "containers/explorer/ArchiveExplorer.h"
#include "containers/explorer/KernelLayout.h"
#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/KernelParts.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace cli {
namespace {

using Json = nlohmann::ordered_json;
using kfab::kernel::ArchiveExplorer;
using Names = std::vector<std::string>;

/// One part of a kernel and where in the package it lies; nowhere when the package lacks it.
struct Part {
    const char* word;
    const char* jsonName;
    bool isList;
    Names names;
};

/// The parts of one kernel. Names are those of the package's entries, as `kp cat` takes them.
class Parts {
public:
    Parts(const ArchiveExplorer& explorer, const HKPKernel& kernel)
        : explorer_(explorer), kernel_(kernel.getName()), ipDir_(kernel.getIpDir()) {}

    std::vector<Part> all() const {
        const Names root = directory(explorer_.getKernelDefRoot(kernel_));
        std::vector<Part> parts{{"root", "root", false, root},
                                {"description", "description", false, in(root, layout::kernelXml)}};
        for (const KernelPart& part : kernelParts)
            parts.push_back({part.word, part.filesJson, part.list != nullptr, namesOf(part)});
        parts.push_back({"ip", "ipDir", false, ipDir()});
        parts.push_back({"ip-cache", "ipCacheDir", false, directory(explorer_.getIPCacheRoot(kernel_))});
        return parts;
    }

private:
    Names directory(const std::string& path) const {
        if (!explorer_.existsDir(path)) return {};
        return {std::filesystem::path(path).lexically_relative(explorer_.getRoot()).string()};
    }

    static Names in(Names folder, const char* file) {
        for (std::string& name : folder)
            name = HUTPathUtils::join(name, file);
        return folder;
    }

    Names namesOf(const KernelPart& part) const {
        if (part.kind == KernelPart::Kind::Directory) return directory((explorer_.*part.root)(kernel_));
        if (part.kind == KernelPart::Kind::File) return shimSolnFile();
        Names names;
        (explorer_.*part.list)(kernel_, names);
        return names;
    }

    Names shimSolnFile() const {
        std::string name;
        explorer_.getShimSolnFile(kernel_, name);
        return name.empty() ? Names() : Names{name};
    }

    /// From the manifest, which is exact where the explorer can only search by the kernel's name.
    Names ipDir() const {
        if (ipDir_.empty()) return {};
        return directory(HUTPathUtils::join(explorer_.getRoot(), ipDir_));
    }

    const ArchiveExplorer& explorer_;
    const std::string& kernel_;
    std::string ipDir_;
};

Json describe(const HKPKernel& kernel, const ArchiveExplorer& explorer) {
    Json described{{"name", kernel.getName()}};
    for (const Part& part : Parts(explorer, kernel).all()) {
        Json names = Json::array();
        std::transform(part.names.begin(), part.names.end(), std::back_inserter(names), jsonText);
        if (part.isList) {
            described[part.jsonName] = std::move(names);
        } else if (!names.empty()) {
            described[part.jsonName] = names.front();
        }
    }
    return described;
}

void printJson(const Kernels& kernels, const ArchiveExplorer& explorer) {
    Json described = Json::array();
    for (const HKPKernel* kernel : kernels)
        described.push_back(describe(*kernel, explorer));
    print({{"kernels", std::move(described)}});
}

void printLines(const Kernels& kernels, const ArchiveExplorer& explorer) {
    constexpr std::size_t wordWidth = std::string_view("description").size();
    std::size_t nameWidth = 0;
    for (const HKPKernel* kernel : kernels)
        nameWidth = std::max(nameWidth, HUTPathUtils::shown(kernel->getName()).size());
    for (const HKPKernel* kernel : kernels) {
        std::string name = HUTPathUtils::shown(kernel->getName());
        name.resize(nameWidth, ' ');
        for (const Part& part : Parts(explorer, *kernel).all()) {
            std::string word = part.word;
            word.resize(wordWidth, ' ');
            for (const std::string& path : part.names)
                std::cout << name << "  " << word << "  " << HUTPathUtils::shown(path) << '\n';
        }
    }
}

}  // namespace

Run declareFiles(CLI::App& app) {
    auto package = std::make_shared<std::string>();
    auto kernel = std::make_shared<std::optional<std::string>>();
    auto json = std::make_shared<bool>(false);
    app.add_option("PACKAGE", *package, "The package")->type_name("FILE")->required();
    app.add_option("KERNEL", *kernel, "Only this kernel, in any case of letters")->type_name("NAME");
    app.add_flag("--json", *json, "As a JSON object");
    return [=] {
        HKPContainer container;
        const auto version = HKPContainerUtils::openKPContainer_(*package, container);
        const ArchiveExplorer explorer(*package, nullptr, layout::hasRepository(container.getVersionMajor()),
                                       version);
        const Kernels kernels = chosenKernels(container, *package, *kernel);
        *json ? printJson(kernels, explorer) : printLines(kernels, explorer);
        return Done;
    };
}

}  // namespace cli
