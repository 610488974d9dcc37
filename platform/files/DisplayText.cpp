#include "platform/files/DisplayText.h"

#include "platform/base/HI18N.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cwchar>
#include <iterator>
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

struct Range {
    wchar_t first, last;
};

/// What is not seen: separators of lines, what changes the direction of the text, and what has no width.
constexpr Range treacherous[] = {{0xad, 0xad},     {0x34f, 0x34f},     {0x61c, 0x61c},    {0x115f, 0x1160},
                                 {0x17b4, 0x17b5}, {0x180b, 0x180f},   {0x200b, 0x200f},  {0x2028, 0x202e},
                                 {0x2060, 0x206f}, {0x3164, 0x3164},   {0xfeff, 0xfeff},  {0xffa0, 0xffa0},
                                 {0xfff9, 0xfffb}, {0x1d173, 0x1d17a}, {0xe0000, 0xe0fff}};

bool isTreacherous(wchar_t character) {
    return std::any_of(std::begin(treacherous), std::end(treacherous), [&](const Range& range) {
        return range.first <= character && character <= range.last;
    });
}

/// So many marks may combine with a character. More of them would cover what is around it.
constexpr std::size_t mostMarks = 8;

std::wstring escaped(wchar_t character) {
    std::array<wchar_t, 16> text{};
    (void)std::swprintf(text.data(), text.size(), character > 0xffff ? L"\\U%08x" : L"\\u%04x",
                        static_cast<unsigned>(character));
    return text.data();
}

}  // namespace

std::string displayed(std::string_view text) {
    std::string shown = HUTPathUtils::shown(text);
    if (std::all_of(shown.begin(), shown.end(), [](char each) { return (each & 0x80) == 0; })) return shown;
    const UnicodeCharacters characters;
    std::wstring result;
    std::size_t marks = 0;
    for (const wchar_t character : HI18N::convert(shown)) {
        marks = characters.width(character) == 0 ? marks + 1 : 0;
        if (isTreacherous(character) || marks > mostMarks)
            result += escaped(character);
        else
            result += character;
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
