// Reports of what packages hold, as lines and as JSON.

#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/JsonText.h"
#include "containers/kp/KernelContents.h"
#include "containers/kp/PackageLayout.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HI18N.h"
#include "platform/files/HUTPathUtils.h"

#include <ostream>
#include <sstream>
#include <unordered_map>

namespace {

using kfab::kernel::ArchiveExplorer;
using kfab::kernel::KernelDef;

std::vector<KernelDef> kernelsOf(const ArchiveExplorer& explorer) {
    std::vector<KernelDef> kernels;
    explorer.getKernelDefs(kernels);
    return kernels;
}

[[noreturn]] void failToWrite(const std::string& package) {
    throw HEXAlgException("Failed to write the report of KP container '" + package + "'\n");
}

using Shown = std::function<std::string(const std::string& value)>;

class Lines {
public:
    Lines(std::ostream& out, const Shown& shown) : out_(out), shown_(shown) {}

    void add(const KernelContents& kernel) {
        addBlock("=== Kernel Definition ===", kernel.definition);
        for (const char* flag : kernel.flags)
            add(flag, "1");
        for (const KernelContents::Files& files : kernel.files)
            for (const std::string& name : files.names)
                add(files.lineKey, name);
        for (const KernelContents::Values& arg : kernel.args)
            addBlock("=== Arg ===", arg);
        for (const KernelContents::Values& port : kernel.ports)
            addBlock("=== Port ===", port);
    }

private:
    void addBlock(const char* header, const KernelContents::Values& values) {
        out_ << header << std::endl;
        for (const auto& [key, value] : values)
            add(key, value);
    }

    void add(const char* key, const std::string& value) { out_ << key << ": " << shown_(value) << std::endl; }

    std::ostream& out_;
    const Shown& shown_;
};

class Json {
public:
    explicit Json(const std::string& package) : package_(package) { text_.beginArray("kernelDefs"); }

    void add(const std::string& name, const KernelContents& kernel) {
        name_ = name;
        text_.beginObject();
        addValues(kernel.definition);
        for (const char* flag : kernel.flags)
            addValue(flag, "true");
        for (const KernelContents::Files& files : kernel.files)
            files.isList ? addPaths(files) : addOnly(files);
        addArray("args", kernel.args);
        addArray("ports", kernel.ports);
        text_.endObject();
    }

    void write(std::ostream& out) {
        text_.endArray();
        out << text_.finish() << std::flush;
    }

private:
    void addValue(const char* key, const std::string& value) {
        if (!HI18N::isUtf8(value))
            throw HEXAlgException("Kernel '" + name_ + "' of KP container '" + package_ +
                                  "' cannot be reported as JSON because \"" + key + "\" is not UTF-8: '" +
                                  HUTPathUtils::shown(value) + "'\n");
        text_.addValue(key, value);
    }

    void addPaths(const KernelContents::Files& files) {
        text_.beginArray(files.arrayKey);
        for (const std::string& path : files.names)
            addObject({{"path", path}});
        text_.endArray();
    }

    void addOnly(const KernelContents::Files& files) {
        for (const std::string& path : files.names)
            addValue(files.arrayKey, path);
    }

    void addValues(const KernelContents::Values& values) {
        for (const auto& [key, value] : values)
            addValue(key, value);
    }

    void addObject(const KernelContents::Values& values) {
        text_.beginObject();
        addValues(values);
        text_.endObject();
    }

    void addArray(const char* key, const std::vector<KernelContents::Values>& elements) {
        text_.beginArray(key);
        for (const KernelContents::Values& values : elements)
            addObject(values);
        text_.endArray();
    }

    std::string package_;
    std::string name_;  ///< of the kernel at hand
    JsonText text_;
};

/// An explorer with the definitions of all kernels. `onlyThisVersion`: what lies where is told of the version
/// of the package that they were read from, whatever becomes of that.
std::shared_ptr<ArchiveExplorer> explore(const std::string& path, bool onlyThisVersion) {
    HKPContainerUtils::requireKPContainer_(path);
    HKPContainer container;
    std::unordered_map<std::string, KernelDef> definitions;
    const auto version = HKPContainerXMLReader(path, container)
                             .parsePackage([&](const std::string& kernel, auto& description) {
                                 definitions.try_emplace(kernel, description.getKernelDef());
                             });
    const bool supportsIPCache = layout::hasRepository(container.getVersionMajor());
    auto explorer = std::make_shared<ArchiveExplorer>(path, nullptr, supportsIPCache,
                                                      onlyThisVersion ? version : nullptr);
    const auto [first, last] = container.getKPKernelRange();
    for (auto kernel = first; kernel != last; ++kernel)
        explorer->addKernelDef(definitions.at((*kernel)->getName()));
    return explorer;
}

using Report = void(const std::string& package, std::ostream& out);

bool reportToText(Report report, const std::string& package, std::vector<std::string>& out,
                  std::vector<std::string>& errors) {
    try {
        std::ostringstream text;
        report(package, text);
        out.push_back(std::move(text).str());
        return true;
    } catch (const std::exception& failure) {
        errors.emplace_back(failure.what());
        out.clear();
        return false;
    }
}

}  // namespace

std::shared_ptr<ArchiveExplorer> HKPContainerUtils::getInfo(const std::string& packagePath) {
    return explore(packagePath, false);
}

void HKPContainerUtils::getInfoAsStreamTxt(const std::string& packagePath, std::ostream& out) {
    getInfoAsStreamTxt(packagePath, out, [](const std::string& value) { return value; });
}

void HKPContainerUtils::getInfoAsStreamTxt(const std::string& packagePath, std::ostream& out,
                                           const Shown& shown) {
    const auto explorer = explore(packagePath, true);
    Lines lines(out, shown);
    for (const KernelDef& kernel : kernelsOf(*explorer))
        lines.add(KernelContents::of(kernel, *explorer));
    if (!out) failToWrite(packagePath);
}

void HKPContainerUtils::getInfoAsStreamJson(const std::string& packagePath, std::ostream& out) {
    const auto explorer = explore(packagePath, true);
    Json json(packagePath);
    for (const KernelDef& kernel : kernelsOf(*explorer))
        json.add(kernel.name, KernelContents::of(kernel, *explorer));
    json.write(out);
    if (!out) failToWrite(packagePath);
}

bool HKPContainerUtils::getInfoAsTxt(const std::string& packagePath, std::vector<std::string>& out,
                                     std::vector<std::string>& errors) {
    return reportToText(getInfoAsStreamTxt, packagePath, out, errors);
}

bool HKPContainerUtils::getInfoAsJson(const std::string& packagePath, std::vector<std::string>& out,
                                      std::vector<std::string>& errors) {
    return reportToText(getInfoAsStreamJson, packagePath, out, errors);
}
