#include "containers/lint/TopModule.h"

#include "containers/ip/ComponentFacts.h"
#include "containers/lint/HdlSource.h"
#include "containers/lint/Text.h"
#include "platform/base/HSTStringUtils.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <set>

namespace kfab::lint {
namespace {

using Path = std::filesystem::path;

/// Sources are small; hostile ones shall not take forever.
constexpr std::uint64_t maximumSource = std::uint64_t{16} << 20;
constexpr std::uint64_t maximumSources = std::uint64_t{64} << 20;

enum class FileKind {
    Verilog,
    Vhdl,
    NoHardware,  ///< defines no module
    Other,       ///< may define, or make, any
};

std::string extensionOf(const std::string& name) {
    return HSTStringUtils::foldCase(Path(name).extension().string());
}

bool isOneOf(const std::string& word, std::initializer_list<std::string_view> words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// By the type that the component gives.
FileKind kindOfType(const std::string& type) {
    const std::string folded = HSTStringUtils::foldCase(type);
    if (folded.find("verilogsource") != std::string::npos) return FileKind::Verilog;
    if (folded.find("vhdlsource") != std::string::npos) return FileKind::Vhdl;
    const bool isNoHardware = isOneOf(folded, {"sdc", "csource", "cppsource", "asmsource", "systemcsource"});
    return isNoHardware ? FileKind::NoHardware : FileKind::Other;
}

FileKind kindOfName(const std::string& name) {
    const std::string extension = extensionOf(name);
    if (isOneOf(extension, {".v", ".vh", ".sv", ".svh"})) return FileKind::Verilog;
    if (isOneOf(extension, {".vhd", ".vhdl"})) return FileKind::Vhdl;
    const bool isConstraint = extension.size() == 4 && extension.ends_with("dc");  // such as ".sdc"
    const bool isNoHardware =
        isOneOf(extension, {".c", ".h", ".cpp", ".hpp", ".mem", ".hex", ".mif", ".dat", ".txt", ".md", ".pdf",
                            ".html", ".xml", ".json", ".png", ".svg"});
    return isConstraint || isNoHardware ? FileKind::NoHardware : FileKind::Other;
}

FileKind kindOf(const ip::File& file) {
    for (const std::string& type : file.types)
        if (const FileKind kind = kindOfType(type); kind != FileKind::Other) return kind;
    const bool isSaid = std::any_of(file.types.begin(), file.types.end(), [](const std::string& type) {
        return HSTStringUtils::foldCase(type).find("hdl") != std::string::npos ||
               HSTStringUtils::foldCase(type).find("verilog") != std::string::npos;
    });
    return isSaid ? FileKind::Other : kindOfName(file.name);
}

/// As in "library.entity(architecture)", which some components have for an entity.
std::string withoutArchitecture(const std::string& module) {
    const std::string name = module.substr(0, module.find('('));
    return name.substr(name.find_last_of('.') + 1);
}

class Search {
public:
    Search(const ip::IpComponent& component, const IpFiles& files) : component_(component), files_(files) {}

    TopModule run();

private:
    void hide(const ip::File& file, const std::string& reason) {
        if (hidden_.empty()) hidden_ = "the file " + quote(file.name) + " " + reason;
    }
    void look(const ip::File& file, FileKind kind);
    void take(const ip::File& file, const HdlSource& source);
    void settle(const ip::ViewFiles& sources);
    bool isTop(const std::string& module) const {
        return top_.hasCase ? module == module_ : HSTStringUtils::equalsIgnoreCase(module, module_);
    }

    const ip::IpComponent& component_;
    const IpFiles& files_;
    TopModule top_;
    std::string module_;              // the name that sources have for it
    std::string hidden_;              // why there may be modules that were not seen
    std::set<std::string> included_;  // by their last component
    std::uint64_t read_ = 0;          // bytes
};

TopModule Search::run() {
    const auto view = ip::synthesisView(component_);
    if (view.part == nullptr) {
        top_.unknown = view.unknown;
        return top_;
    }
    top_.view = view.part->name;
    top_.name = view.part->module;
    top_.line = view.part->moduleLine.number;
    module_ = withoutArchitecture(top_.name);
    if (module_.empty()) {
        top_.unknown = "the view " + quote(top_.view) + " names no top module";
        return top_;
    }
    ip::ViewFiles sources = ip::filesOf(component_, *view.part);
    std::stable_partition(sources.files.begin(), sources.files.end(),
                          [&](const ip::File* file) { return Path(file->name).stem() == module_; });
    for (const ip::File* file : sources.files) {
        const FileKind kind = kindOf(*file);
        if (kind == FileKind::Other) hide(*file, "is no source that can be read");
        if (kind == FileKind::Verilog || kind == FileKind::Vhdl) look(*file, kind);
        if (top_.state == TopModule::State::Found) return top_;
    }
    settle(sources);
    return top_;
}

void Search::look(const ip::File& file, FileKind kind) {
    const std::optional<std::uint64_t> size = files_.sizeOf(file.name);
    if (!size) return hide(file, "is not there");
    if (*size > maximumSource || *size > maximumSources - read_) return hide(file, "is too large to be read");
    read_ += *size;
    try {
        const std::string text = files_.read(file.name);
        if (text.find('\0') != std::string::npos) return hide(file, "is no text");
        top_.hasCase = kind == FileKind::Verilog;
        take(file, kind == FileKind::Verilog ? readVerilog(text) : readVhdl(text));
    } catch (const std::exception&) {
        hide(file, "cannot be read");
    }
}

void Search::take(const ip::File& file, const HdlSource& source) {
    for (const HdlModule& module : source.modules) {
        if (!isTop(module.name)) {
            top_.others.push_back(module.name);
            continue;
        }
        if (top_.state == TopModule::State::Found)
            top_.portsUnknown = "the file " + quote(file.name) + " defines it more than once";
        else
            top_.portsUnknown = module.unknown;
        top_.state = TopModule::State::Found;
        top_.file = file.name;
        top_.ports = module.ports;
    }
    if (!source.hidden.empty()) hide(file, source.hidden);
    for (const std::string& name : source.included)
        included_.insert(Path(name).filename().string());
}

/// Nothing that was read defines it.
void Search::settle(const ip::ViewFiles& sources) {
    for (const ip::File* file : sources.files)
        included_.erase(Path(file->name).filename().string());
    if (hidden_.empty()) hidden_ = sources.incomplete;
    if (hidden_.empty() && !included_.empty())
        hidden_ = "the included file " + quote(*included_.begin()) + " is in no file set of the view";
    if (hidden_.empty())
        top_.state = TopModule::State::Missing;
    else
        top_.unknown = hidden_;
}

}  // namespace

TopModule findTopModule(const ip::IpComponent& component, const IpFiles& files) {
    return Search(component, files).run();
}

}  // namespace kfab::lint
