// Reports of what packages hold, as lines and as JSON.

#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/KernelContents.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HI18N.h"
#include "platform/files/HUTPathUtils.h"

#include <ostream>
#include <sstream>
#include <tuple>
#include <unordered_map>

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>

namespace {

using boost::property_tree::ptree;
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

class Lines {
public:
    explicit Lines(std::ostream& out) : out_(out) {}

    void add(const KernelContents& kernel) {
        addBlock("=== Kernel Definition ===", kernel.definition);
        for (const char* flag : kernel.flags)
            add(flag, "1");
        for (const KernelContents::Files& files : kernel.files)
            for (const std::string& name : files.names)
                add(files.lineKey, name);
        if (!kernel.shimSolnFile.empty()) add("ShimSolnFile", kernel.shimSolnFile);
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

    void add(const char* key, const std::string& value) { out_ << key << ": " << value << std::endl; }

    std::ostream& out_;
};

/// The JSON report, of one kernel after the other: a tree of all of them takes ten times the memory of its
/// text.
class Json {
public:
    explicit Json(const std::string& package) : package_(package) {}

    void add(const std::string& name, const KernelContents& kernel) {
        name_ = name;
        ptree object;
        addValues(object, kernel.definition);
        for (const char* flag : kernel.flags)
            addValue(object, flag, "true");
        for (const KernelContents::Files& files : kernel.files) {
            ptree& array = append(object, files.arrayKey);
            for (const std::string& name : files.names)
                addValue(append(array), "path", name);
        }
        if (!kernel.shimSolnFile.empty()) addValue(object, "shimSolnFile", kernel.shimSolnFile);
        addArray(object, "args", kernel.args);
        addArray(object, "ports", kernel.ports);
        addElement(object);
    }

    /// Writes the whole document, laid out as by write_json: a list without elements is an empty text there.
    void write(std::ostream& out) const {
        out << "{\n    \"kernelDefs\": ";
        if (elements_.empty()) {
            out << "\"\"";
        } else {
            out << '[' << elements_ << "\n    ]";
        }
        out << "\n}\n" << std::flush;
    }

private:
    /// A new member of an object; without a key, of an array. Made in place, as trees cannot be moved.
    static ptree& append(ptree& parent, const char* key = "", const std::string& text = {}) {
        const ptree::value_type member(std::piecewise_construct, std::forward_as_tuple(key),
                                       std::forward_as_tuple(text));
        return parent.push_back(member)->second;
    }

    void addValue(ptree& object, const char* key, const std::string& value) const {
        if (!HI18N::isUtf8(value))
            throw HEXAlgException("Kernel '" + name_ + "' of KP container '" + package_ +
                                  "' cannot be reported as JSON because \"" + key + "\" is not UTF-8: '" +
                                  HUTPathUtils::shown(value) + "'\n");
        append(object, key, value);
    }

    void addValues(ptree& object, const KernelContents::Values& values) const {
        for (const auto& [key, value] : values)
            addValue(object, key, value);
    }

    void addArray(ptree& object, const char* key, const std::vector<KernelContents::Values>& elements) const {
        ptree& array = append(object, key);
        for (const KernelContents::Values& values : elements)
            addValues(append(array), values);
    }

    /// Line ends inside of texts are escaped, so each line of the element can be indented.
    void addElement(const ptree& object) {
        if (!elements_.empty()) elements_ += ',';
        text_.str({});
        boost::property_tree::write_json(text_, object);
        for (std::string_view rest = text_.view(); !rest.empty();) {
            const std::string_view line = rest.substr(0, rest.find('\n'));
            elements_.append("\n        ").append(line);
            rest.remove_prefix(line.size() + 1);
        }
    }

    std::string package_;
    std::string name_;  ///< of the kernel at hand
    std::string elements_;
    std::ostringstream text_;  ///< of the element at hand
};

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
    requireKPContainer_(packagePath);
    const auto container = std::make_shared<HKPContainer>();
    std::unordered_map<std::string, KernelDef> definitions;
    HKPContainerXMLReader(packagePath, *container)
        .parseKPContainer([&](const std::string& kernel, HCOContainerKernelXMLReader& description) {
            definitions.try_emplace(kernel, description.getKernelDef());
        });
    const bool supportsIPCache = container->getVersionMajor() >= 3;
    auto explorer = std::make_shared<ArchiveExplorer>(packagePath, container, supportsIPCache);
    const auto [first, last] = container->getKPKernelRange();
    for (auto kernel = first; kernel != last; ++kernel)
        explorer->addKernelDef(definitions.at((*kernel)->getName()));
    return explorer;
}

void HKPContainerUtils::getInfoAsStreamTxt(const std::string& packagePath, std::ostream& out) {
    const auto explorer = getInfo(packagePath);
    Lines lines(out);
    for (const KernelDef& kernel : kernelsOf(*explorer))
        lines.add(KernelContents::of(kernel, *explorer));
    if (!out) failToWrite(packagePath);
}

void HKPContainerUtils::getInfoAsStreamJson(const std::string& packagePath, std::ostream& out) {
    const auto explorer = getInfo(packagePath);
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
