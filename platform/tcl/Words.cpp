#include "platform/tcl/Words.h"

#include "platform/base/HI18N.h"
#include "platform/tcl/Library.h"

#include <string_view>

#include <tcl.h>

namespace tkq::tcltasks {
namespace {

/// The parse of a script's first command.
class parsed_command {
public:
    parsed_command(const std::string& script, bool in_brackets)
        : is_valid_(Tcl_ParseCommand(nullptr, script.data(), static_cast<int>(script.size()), in_brackets,
                                     &parse_) == TCL_OK) {}
    ~parsed_command() {
        if (is_valid_) Tcl_FreeParse(&parse_);
    }
    parsed_command(const parsed_command&) = delete;
    parsed_command& operator=(const parsed_command&) = delete;

    /// Whether the command is three words, and the middle one is this text without any substitution.
    bool has_middle_word(std::string_view text) const {
        constexpr int middle = 2;  // the first word takes two tokens: the word and its text
        if (!is_valid_ || parse_.numWords != 3 || parse_.tokenPtr[middle].type != TCL_TOKEN_SIMPLE_WORD)
            return false;
        const Tcl_Token& word = parse_.tokenPtr[middle + 1];
        return text == std::string_view(word.start, static_cast<std::size_t>(word.size));
    }

private:
    Tcl_Parse parse_;
    bool is_valid_;
};

bool is_text(const std::string& value) {
    return HI18N::isUtf8(value) && value.find('\0') == std::string::npos;
}

bool is_word(const std::string& value, const std::string& written, bool in_brackets) {
    ready_tcl();
    const std::string script = "command " + written + (in_brackets ? " last]" : " last");
    return parsed_command(script, in_brackets).has_middle_word(value);
}

}  // namespace

bool is_bare_word(const std::string& value) {
    return is_word(value, value, false) && is_word(value, value, true) && is_braced_word(value);
}

bool is_braced_word(const std::string& value) {
    return is_text(value) && is_word(value, "{" + value + "}", false);
}

}  // namespace tkq::tcltasks
