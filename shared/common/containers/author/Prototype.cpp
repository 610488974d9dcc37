#include "containers/author/Prototype.h"

#include "containers/author/KernelRefused.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace kfab::author {
namespace {

constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
constexpr std::string_view lettersAndDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_0123456789";

constexpr std::string_view leading[] = {"extern", "static", "inline", "kernel", "__kernel"};
constexpr std::string_view qualifiers[] = {"const",        "volatile", "restrict", "__restrict",
                                           "__restrict__", "register", "global",   "__global"};
constexpr std::string_view constantMemory[] = {"constant", "__constant"};
constexpr std::string_view otherMemory[] = {"local", "__local", "private", "__private"};
constexpr std::string_view attribute[] = {"__attribute__"};
constexpr std::string_view tags[] = {"struct", "union", "enum"};
constexpr std::string_view typeWords[] = {"void",   "char",     "short", "int",    "long",  "float", "double",
                                          "signed", "unsigned", "_Bool", "struct", "union", "enum"};

template <class Words>
bool isOneOf(const Words& words, std::string_view word) {
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

class Reader {
public:
    explicit Reader(const std::string& text) : text_(text) { advance(); }

    Prototype read() {
        Prototype prototype;
        readLeading();
        if (token_ != "void") fail("a kernel returns 'void'");
        advance();
        skipAttributes();
        prototype.function = takeName("the function's name");
        take("(");
        if (!isEmptyList()) prototype.parameters = readParameters();
        take(")");
        skipAttributes();
        if (token_ == ";") advance();
        if (!token_.empty()) fail("the prototype must end here");
        return prototype;
    }

private:
    void advance() {
        skipBlanks();
        std::size_t size = std::min(text_.find_first_not_of(lettersAndDigits, at_), text_.size()) - at_;
        if (size == 0 && at_ < text_.size()) size = 1;
        token_ = std::string_view(text_).substr(at_, size);
        tokenAt_ = at_;
        at_ += size;
    }

    void skipBlanks() {
        for (;;) {
            at_ = std::min(text_.find_first_not_of(" \t\r\n\f\v", at_), text_.size());
            const bool isLine = text_.compare(at_, 2, "//") == 0;
            if (!isLine && text_.compare(at_, 2, "/*") != 0) return;
            const std::size_t end = text_.find(isLine ? "\n" : "*/", at_ + 2);
            if (end == std::string::npos && !isLine) refuse(at_, "the comment does not end");
            at_ = std::min(end, text_.size() - (isLine ? 1 : 2)) + (isLine ? 1 : 2);
        }
    }

    [[noreturn]] void refuse(std::size_t at, const std::string& reason) const {
        throw PrototypeRefused(text_, at, reason);
    }

    /// What is wrong with the token.
    [[noreturn]] void fail(const std::string& reason) const {
        const std::string found = token_.empty() ? "the end" : HUTPathUtils::quoted(token_);
        refuse(tokenAt_, reason + ", but " + found + " is found");
    }

    void take(std::string_view token) {
        if (token_ != token) fail(HUTPathUtils::quoted(token) + " is expected");
        advance();
    }

    std::string takeName(const std::string& what) {
        if (!isIdentifier(token_) || isOneOf(typeWords, token_)) fail(what + " is expected");
        std::string name(token_);
        advance();
        return name;
    }

    /// A bracket that the token opens, with all in it.
    void skipBracket(std::string_view open, std::string_view close) {
        const std::size_t begin = tokenAt_;
        int depth = 0;
        do {
            if (token_.empty()) refuse(begin, HUTPathUtils::quoted(open) + " is never closed");
            depth += (token_ == open ? 1 : 0) - (token_ == close ? 1 : 0);
            advance();
        } while (depth > 0);
    }

    void skipAttributes() {
        while (isOneOf(attribute, token_)) {
            advance();
            if (token_ != "(") fail("'(' is expected");
            skipBracket("(", ")");
        }
    }

    void readLeading() {
        for (;;) {
            skipAttributes();
            if (!isOneOf(leading, token_)) return;
            const bool isExtern = token_ == "extern";
            advance();
            if (!isExtern || token_ != "\"") continue;
            advance();
            if (token_ != "C") fail("\"C\" is expected");
            advance();
            take("\"");
        }
    }

    /// "()" or "(void)".
    bool isEmptyList() {
        if (token_ == ")") return true;
        const std::size_t before = tokenAt_;
        if (token_ != "void") return false;
        advance();
        if (token_ == ")") return true;
        at_ = before;
        advance();
        return false;
    }

    std::vector<Parameter> readParameters() {
        std::vector<Parameter> parameters;
        for (;;) {
            const Parameter& added = parameters.emplace_back(readParameter());
            const auto isSame = [&](const Parameter& other) { return other.name == added.name; };
            if (std::find_if(parameters.begin(), parameters.end() - 1, isSame) != parameters.end() - 1)
                refuse(added.at, "there are two arguments " + HUTPathUtils::quoted(added.name));
            if (token_ != ",") break;
            advance();
        }
        if (token_ != ")") fail("',' or ')' is expected");
        return parameters;
    }

    Parameter readParameter() {
        Parameter parameter;
        parameter.at = tokenAt_;
        std::vector<std::string_view> words = readWords(parameter);
        if (words.empty()) fail("an argument's type is expected");
        int stars = readStars();
        if (stars > 0) {
            parameter.name = takeName("the argument's name");
        } else {
            const std::size_t ofType = isOneOf(tags, words.front()) ? 2 : 1;
            if (words.size() <= ofType || isOneOf(typeWords, words.back()))
                fail("the argument's name is expected");
            parameter.name = words.back();
            words.pop_back();
        }
        if (!isIdentifier(parameter.name))
            refuse(parameter.at, HUTPathUtils::quoted(parameter.name) + " is no name");
        stars += token_ == "[" ? 1 : 0;
        while (token_ == "[")
            skipBracket("[", "]");
        skipAttributes();
        finish(parameter, words, stars);
        return parameter;
    }

    std::vector<std::string_view> readWords(Parameter& parameter) {
        std::vector<std::string_view> words;
        memory_ = {};
        const auto isWord = [&] {
            return !token_.empty() && lettersAndDigits.find(token_.front()) != std::string_view::npos;
        };
        for (; isWord() && !isOneOf(attribute, token_); advance()) {
            if (isOneOf(constantMemory, token_))
                parameter.isConstant = true;
            else if (isOneOf(otherMemory, token_))
                memory_ = token_;
            else if (!isOneOf(qualifiers, token_))
                words.push_back(token_);
        }
        return words;
    }

    int readStars() {
        int stars = 0;
        for (; token_ == "*" || (stars > 0 && isOneOf(qualifiers, token_)); advance())
            stars += token_ == "*" ? 1 : 0;
        return stars;
    }

    void finish(Parameter& parameter, const std::vector<std::string_view>& words, int stars) const {
        for (const std::string_view word : words)
            parameter.type.append(parameter.type.empty() ? "" : " ").append(word);
        if (stars == 0 && parameter.type == "void")
            refuse(parameter.at, HUTPathUtils::quoted(parameter.name) + " has the type 'void'");
        if (stars > 0 && !memory_.empty())
            refuse(parameter.at, HUTPathUtils::quoted(parameter.name) + " points to " +
                                     HUTPathUtils::quoted(memory_) + " memory, which no port leads to");
        parameter.type.append(static_cast<std::size_t>(stars), '*');
        parameter.isPointer = stars > 0;
    }

    const std::string& text_;
    std::size_t at_ = 0;
    std::string_view token_;  // empty at the end
    std::size_t tokenAt_ = 0;
    std::string_view memory_;  // that an argument says to be in, if it is none of a port's
};

}  // namespace

bool isIdentifier(std::string_view text) {
    return !text.empty() && letters.find(text.front()) != std::string_view::npos &&
           text.find_first_not_of(lettersAndDigits) == std::string_view::npos;
}

Prototype readPrototype(const std::string& text) {
    return Reader(text).read();
}

}  // namespace kfab::author
