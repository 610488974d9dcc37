#pragma once

#include <cstddef>
#include <string_view>

namespace kfab::lint {

enum class HdlLanguage { Verilog, Vhdl };

/// The smallest piece of a source that means something.
struct HdlToken {
    enum class Kind {
        Word,       ///< a name, a keyword or a number; an escaped name without its escape
        Text,       ///< a string, without its quotes
        Directive,  ///< the name of a directive or a macro, without its mark
        Sign,       ///< one character
        End,        ///< there is nothing more
    };
    Kind kind = Kind::End;
    std::string_view text;

    bool is(char sign) const { return kind == Kind::Sign && text.front() == sign; }
};

/// Cuts a source into tokens, without spaces and comments. The source must stay where it is.
class HdlTokens {
public:
    HdlTokens(std::string_view source, HdlLanguage language);

    const HdlToken& now() const { return now_; }
    bool hasMore() const { return now_.kind != HdlToken::Kind::End; }
    bool isWord(std::string_view word) const;
    void next();
    /// Next is what stands on a later line; a backslash at its end makes a line go on.
    void skipLine();
    /// From an opening bracket to what stands behind its closing one.
    void skipBrackets();

private:
    void skipSpace();
    void skipBehind(std::string_view mark, std::size_t from);
    HdlToken take(HdlToken::Kind kind, std::size_t begin, std::size_t size, std::size_t next);
    HdlToken read();
    HdlToken readQuoted();
    HdlToken readEscaped();
    std::size_t endOfWord(std::size_t begin) const;
    char at(std::size_t place) const { return place < source_.size() ? source_[place] : '\0'; }

    std::string_view source_;
    HdlLanguage language_;
    std::size_t place_ = 0;
    HdlToken now_;
};

}  // namespace kfab::lint
