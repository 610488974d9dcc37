#include "containers/lint/HdlSource.h"

#include "containers/lint/HdlTokens.h"
#include "containers/lint/Text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kfab::lint {
namespace {

using Kind = HdlToken::Kind;

constexpr const char* encrypted = "is encrypted";

/// What a source may do with a directive outside of headers: nothing that defines a module.
bool isHarmless(std::string_view directive) {
    static constexpr std::array directives{std::string_view("ifdef"),
                                           std::string_view("ifndef"),
                                           std::string_view("elsif"),
                                           std::string_view("else"),
                                           std::string_view("endif"),
                                           std::string_view("timescale"),
                                           std::string_view("resetall"),
                                           std::string_view("default_nettype"),
                                           std::string_view("celldefine"),
                                           std::string_view("endcelldefine"),
                                           std::string_view("begin_keywords"),
                                           std::string_view("end_keywords"),
                                           std::string_view("undef"),
                                           std::string_view("undefineall"),
                                           std::string_view("line"),
                                           std::string_view("pragma"),
                                           std::string_view("unconnected_drive"),
                                           std::string_view("nounconnected_drive")};
    return std::find(directives.begin(), directives.end(), directive) != directives.end();
}

bool isProtection(const HdlTokens& tokens, const HdlToken& directive) {
    return directive.text.starts_with("protect") || (directive.text == "pragma" && tokens.isWord("protect"));
}

/// Reads one source of Verilog or SystemVerilog.
class VerilogReader {
public:
    explicit VerilogReader(std::string_view text) : tokens_(text, HdlLanguage::Verilog) {}

    HdlSource read();

private:
    void readDirective();
    void readModule();
    void readHeader(HdlModule& module);
    void readPorts(HdlModule& module);
    std::string readPort(HdlModule& module);
    /// Whether a macro or a directive stands here, which then is why the header is not known.
    bool meetsDirective(HdlModule& module);
    void hide(const std::string& reason) {
        if (source_.hidden.empty()) source_.hidden = reason;
    }

    HdlTokens tokens_;
    HdlSource source_;
    bool isInModule_ = false;
};

HdlSource VerilogReader::read() {
    bool isDeclaration = false;  // of what stands elsewhere
    while (tokens_.hasMore() && source_.hidden != encrypted) {
        const bool isModule = tokens_.isWord("module") || tokens_.isWord("macromodule");
        if (tokens_.now().kind == Kind::Directive) {
            readDirective();
        } else if (isModule && !isDeclaration) {
            tokens_.next();
            readModule();
        } else {
            if (tokens_.isWord("endmodule")) isInModule_ = false;
            isDeclaration = tokens_.isWord("extern");
            tokens_.next();
        }
    }
    return std::move(source_);
}

void VerilogReader::readDirective() {
    const HdlToken directive = tokens_.now();
    if (directive.text == "define") return tokens_.skipLine();
    tokens_.next();
    if (isProtection(tokens_, directive)) {
        source_.hidden = encrypted;
    } else if (directive.text == "include") {
        if (tokens_.now().kind == Kind::Text)
            source_.included.emplace_back(tokens_.now().text);
        else
            hide("includes a file that it does not name");
    } else if (!isHarmless(directive.text) && !isInModule_) {
        hide("uses the macro " + quote(directive.text) + " outside of modules");
    }
}

void VerilogReader::readModule() {
    isInModule_ = true;
    if (tokens_.isWord("automatic") || tokens_.isWord("static")) tokens_.next();
    if (tokens_.now().kind != Kind::Word) return hide("has a module whose name is made by a macro");
    HdlModule module{.name = std::string(tokens_.now().text), .ports = {}, .unknown = {}};
    tokens_.next();
    readHeader(module);
    source_.modules.push_back(std::move(module));
}

bool VerilogReader::meetsDirective(HdlModule& module) {
    if (tokens_.now().kind != Kind::Directive) return false;
    module.unknown = "its header uses " + quote("`" + std::string(tokens_.now().text));
    return true;
}

void VerilogReader::readHeader(HdlModule& module) {
    while (tokens_.hasMore() && !tokens_.now().is('(') && !tokens_.isWord("endmodule")) {
        if (meetsDirective(module)) return;
        if (tokens_.now().is(';')) return tokens_.next();
        if (tokens_.isWord("import")) {
            while (tokens_.hasMore() && !tokens_.now().is(';'))
                tokens_.next();
        }
        const bool hasParameters = tokens_.now().is('#');
        tokens_.next();
        if (hasParameters && tokens_.now().is('(')) tokens_.skipBrackets();
    }
    if (!tokens_.now().is('(')) return;
    tokens_.next();
    readPorts(module);
}

void VerilogReader::readPorts(HdlModule& module) {
    while (tokens_.hasMore() && module.unknown.empty()) {
        const std::string port = readPort(module);
        if (!port.empty()) module.ports.push_back(port);
        if (tokens_.now().is(')')) return;
        if (tokens_.now().is(',')) tokens_.next();
    }
    if (module.unknown.empty()) module.unknown = "its header does not end";
}

/// To the comma or the bracket behind the port. Its name is the last one before a default, or the one behind
/// the point of ".name(expression)".
std::string VerilogReader::readPort(HdlModule& module) {
    std::string name;
    bool isNamed = false, isExplicit = false;
    while (tokens_.hasMore() && !tokens_.now().is(',') && !tokens_.now().is(')')) {
        if (meetsDirective(module)) return {};
        if (!isNamed && (tokens_.now().is('{') || tokens_.now().is('*')))
            module.unknown = "it has ports without names";
        if (tokens_.now().is('(') || tokens_.now().is('[') || tokens_.now().is('{')) {
            tokens_.skipBrackets();
            continue;
        }
        const bool isWord = tokens_.now().kind == Kind::Word;
        if (isWord && !isNamed) name = tokens_.now().text;
        isNamed = isNamed || tokens_.now().is('=') || (isWord && isExplicit);
        isExplicit = name.empty() && tokens_.now().is('.');
        tokens_.next();
    }
    return name;
}

/// Reads one source of VHDL.
class VhdlReader {
public:
    explicit VhdlReader(std::string_view text) : tokens_(text, HdlLanguage::Vhdl) {}

    HdlSource read();

private:
    void readDirective();
    void readEntity();
    void readPorts(HdlModule& module);

    HdlTokens tokens_;
    HdlSource source_;
};

HdlSource VhdlReader::read() {
    while (tokens_.hasMore() && source_.hidden != encrypted) {
        const bool isEntity = tokens_.isWord("entity");
        const bool isDirective = tokens_.now().kind == Kind::Directive;
        if (isDirective) {
            readDirective();
        } else {
            tokens_.next();
            if (isEntity) readEntity();
        }
    }
    return std::move(source_);
}

void VhdlReader::readDirective() {
    const HdlToken directive = tokens_.now();
    tokens_.next();
    if (isProtection(tokens_, directive)) source_.hidden = encrypted;
}

/// An instance of an entity, or its end, is not followed by "is".
void VhdlReader::readEntity() {
    if (tokens_.now().kind != Kind::Word) return;
    HdlModule module{.name = std::string(tokens_.now().text), .ports = {}, .unknown = {}};
    tokens_.next();
    if (!tokens_.isWord("is")) return;
    tokens_.next();
    while (tokens_.hasMore() && !tokens_.isWord("end") && !tokens_.isWord("begin")) {
        if (tokens_.now().kind == Kind::Directive)
            module.unknown = "its header uses " + quote("`" + std::string(tokens_.now().text));
        const bool isPorts = tokens_.isWord("port");
        tokens_.next();
        if (!tokens_.now().is('(')) continue;
        if (isPorts)
            readPorts(module);
        else
            tokens_.skipBrackets();
    }
    source_.modules.push_back(std::move(module));
}

/// As in "(a, b : in bit; signal c : out bit := '0')".
void VhdlReader::readPorts(HdlModule& module) {
    bool isName = true;
    tokens_.next();
    while (tokens_.hasMore() && !tokens_.now().is(')')) {
        if (tokens_.now().kind == Kind::Directive)
            module.unknown = "its header uses " + quote("`" + std::string(tokens_.now().text));
        if (tokens_.now().is('(')) {
            tokens_.skipBrackets();
            continue;
        }
        if (tokens_.now().is(':')) isName = false;
        if (tokens_.now().is(';')) isName = true;
        if (isName && tokens_.now().kind == Kind::Word && !tokens_.isWord("signal"))
            module.ports.emplace_back(tokens_.now().text);
        tokens_.next();
    }
}

}  // namespace

HdlSource readVerilog(std::string_view text) {
    return VerilogReader(text).read();
}

HdlSource readVhdl(std::string_view text) {
    return VhdlReader(text).read();
}

}  // namespace kfab::lint
