#include "platform/files/DisplayText.h"

#include "platform/base/HI18N.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <numeric>

#include <locale.h>

namespace display {
namespace {

/// While it lives, the thread's characters are those of Unicode.
class UnicodeCharacters {
public:
    UnicodeCharacters() {
        static const locale_t unicode = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        before_ = ::uselocale(unicode);
    }
    ~UnicodeCharacters() { ::uselocale(before_); }
    UnicodeCharacters(const UnicodeCharacters&) = delete;
    UnicodeCharacters& operator=(const UnicodeCharacters&) = delete;

    static std::size_t width(wchar_t character) {
        const int columns = ::wcwidth(character);
        return columns < 0 ? 1 : static_cast<std::size_t>(columns);
    }

    static std::size_t width(std::wstring_view text) {
        return std::transform_reduce(text.begin(), text.end(), std::size_t{0}, std::plus<>(),
                                     [](wchar_t each) { return width(each); });
    }

private:
    locale_t before_;
};

/// How many characters at the beginning fit, with all marks that combine with the last of them.
std::size_t countFitting(std::wstring_view text, std::size_t columns) {
    std::size_t used = 0;
    const auto end = std::find_if(text.begin(), text.end(), [&](wchar_t character) {
        used += UnicodeCharacters::width(character);
        return used > columns;
    });
    return static_cast<std::size_t>(end - text.begin());
}

/// The end of the text, as much of it as fits.
std::wstring_view tail(std::wstring_view text, std::size_t columns) {
    std::size_t begin = text.size();
    std::size_t used = 0;
    for (std::size_t at = text.size(); at-- > 0;) {
        const std::size_t width = UnicodeCharacters::width(text[at]);
        used += width;
        if (used > columns) break;
        if (width > 0) begin = at;
    }
    return text.substr(begin);
}

/// Separators of lines, and what changes the direction of the text.
bool isTreacherous(wchar_t character) {
    return character == 0x61c || character == 0x200e || character == 0x200f ||
           (character >= 0x2028 && character <= 0x202e) || (character >= 0x2066 && character <= 0x2069);
}

}  // namespace

std::string displayed(std::string_view text) {
    std::wstring result;
    for (const wchar_t character : HI18N::convert(HUTPathUtils::shown(text))) {
        if (!isTreacherous(character)) {
            result += character;
            continue;
        }
        wchar_t escaped[16];
        (void)std::swprintf(escaped, std::size(escaped), L"\\u%04x", static_cast<unsigned>(character));
        result += escaped;
    }
    return HI18N::convert(result);
}

std::size_t displayWidth(std::string_view text) {
    const UnicodeCharacters characters;
    return characters.width(HI18N::convert(text));
}

std::string shortened(std::string_view text, std::size_t width, std::string_view mark) {
    const UnicodeCharacters characters;
    const std::wstring whole = HI18N::convert(text);
    const std::wstring between = HI18N::convert(mark);
    if (characters.width(whole) <= width) return std::string(text);
    const std::size_t markWidth = characters.width(between);
    if (width <= markWidth) return HI18N::convert(whole.substr(0, countFitting(whole, width)));
    const std::size_t rest = width - markWidth;
    std::wstring result = whole.substr(0, countFitting(whole, rest - rest / 2));
    return HI18N::convert(result.append(between).append(tail(whole, rest / 2)));
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width) {
    const UnicodeCharacters characters;
    const std::wstring whole = HI18N::convert(text);
    std::wstring_view rest = whole;
    std::vector<std::string> lines;
    do {
        std::size_t end = std::max<std::size_t>(countFitting(rest, width), 1);
        if (end < rest.size())
            if (const std::size_t blank = rest.rfind(L' ', end);
                blank != std::wstring_view::npos && blank > 0)
                end = blank;
        lines.push_back(HI18N::convert(rest.substr(0, end)));
        rest.remove_prefix(std::min(end, rest.size()));
        rest.remove_prefix(std::min(rest.find_first_not_of(L' '), rest.size()));
    } while (!rest.empty());
    return lines;
}

}  // namespace display
