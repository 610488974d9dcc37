#include "containers/lint/HdlTokens.h"

#include "platform/base/HSTStringUtils.h"

#include <algorithm>
#include <cctype>

namespace kfab::lint {
namespace {

using Kind = HdlToken::Kind;

bool isSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool isPartOfWord(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '$';
}

}  // namespace

HdlTokens::HdlTokens(std::string_view source, HdlLanguage language) : source_(source), language_(language) {
    next();
}

bool HdlTokens::isWord(std::string_view word) const {
    if (now_.kind != Kind::Word) return false;
    return language_ == HdlLanguage::Vhdl ? HSTStringUtils::equalsIgnoreCase(now_.text, word)
                                          : now_.text == word;
}

void HdlTokens::next() {
    skipSpace();
    now_ = read();
}

void HdlTokens::skipLine() {
    // The token at hand may stand on the line before: where it ends counts.
    place_ = static_cast<std::size_t>(now_.text.data() + now_.text.size() - source_.data());
    for (; place_ < source_.size(); ++place_) {
        if (source_[place_] != '\n') continue;
        const bool hasReturn = place_ > 0 && source_[place_ - 1] == '\r';
        const std::size_t before = hasReturn ? 2 : 1;
        if (place_ < before || source_[place_ - before] != '\\') break;
    }
    next();
}

void HdlTokens::skipBrackets() {
    int depth = 0;
    for (; hasMore(); next()) {
        if (now_.is('(') || now_.is('[') || now_.is('{')) ++depth;
        if (now_.is(')') || now_.is(']') || now_.is('}')) --depth;
        if (depth == 0) return next();
    }
}

void HdlTokens::skipBehind(std::string_view mark, std::size_t from) {
    const std::size_t found = source_.find(mark, from);
    place_ = found == std::string_view::npos ? source_.size() : found + mark.size();
}

void HdlTokens::skipSpace() {
    const std::string_view lineComment = language_ == HdlLanguage::Vhdl ? "--" : "//";
    while (place_ < source_.size()) {
        const std::string_view rest = source_.substr(place_);
        if (isSpace(rest.front()))
            ++place_;
        else if (rest.starts_with(lineComment))
            skipBehind("\n", place_);
        else if (rest.starts_with("/*"))
            skipBehind("*/", place_ + 2);
        else
            return;
    }
}

HdlToken HdlTokens::take(Kind kind, std::size_t begin, std::size_t size, std::size_t next) {
    place_ = next;
    return {kind, source_.substr(begin, size)};
}

std::size_t HdlTokens::endOfWord(std::size_t begin) const {
    while (isPartOfWord(at(begin)))
        ++begin;
    return begin;
}

HdlToken HdlTokens::readQuoted() {
    const std::size_t begin = place_ + 1;
    std::size_t end = begin;
    while (end < source_.size() && source_[end] != '"')
        end += language_ == HdlLanguage::Verilog && source_[end] == '\\' ? 2 : 1;
    end = std::min(end, source_.size());
    return take(Kind::Text, begin, end - begin, std::min(end + 1, source_.size()));
}

HdlToken HdlTokens::readEscaped() {
    const std::size_t begin = place_ + 1;
    std::size_t end = begin;
    const bool isVhdl = language_ == HdlLanguage::Vhdl;
    while (end < source_.size() && (isVhdl ? source_[end] != '\\' : !isSpace(source_[end])))
        ++end;
    return take(Kind::Word, begin, end - begin, std::min(end + 1, source_.size()));
}

HdlToken HdlTokens::read() {
    if (place_ >= source_.size()) return {Kind::End, source_.substr(source_.size())};
    const char c = source_[place_];
    if (c == '"') return readQuoted();
    if (c == '\\') return readEscaped();
    if (c == '`') {
        const std::size_t end = endOfWord(place_ + 1);
        return take(Kind::Directive, place_ + 1, end - place_ - 1, end);
    }
    if (isPartOfWord(c)) {
        const std::size_t end = endOfWord(place_);
        return take(Kind::Word, place_, end - place_, end);
    }
    const bool isCharacter = language_ == HdlLanguage::Vhdl && c == '\'' && at(place_ + 2) == '\'';
    return isCharacter ? take(Kind::Text, place_ + 1, 1, place_ + 3)
                       : take(Kind::Sign, place_, 1, place_ + 1);
}

}  // namespace kfab::lint
