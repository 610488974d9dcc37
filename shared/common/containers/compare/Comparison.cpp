#include "containers/compare/Comparison.h"

#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>

namespace kfab::compare {
namespace {

bool isPlain(char c) {
    constexpr std::string_view others = "_-+.*:/%";
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           others.find(c) != std::string_view::npos;
}

/// What is one word stands as it is.
std::string valueText(const std::optional<std::string>& text) {
    constexpr std::size_t longest = 200;
    if (!text) return "none";
    const bool isWord = !text->empty() && *text != "none" && text->size() <= longest &&
                        std::all_of(text->begin(), text->end(), isPlain);
    return isWord ? *text : HUTPathUtils::quoted(*text, longest);
}

std::string percentText(double percent) {
    std::array<char, 512> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), percent, std::chars_format::fixed, 1).ptr;
    std::string text(digits.begin(), end);
    if (text.ends_with(".0")) text.resize(text.size() - 2);
    return std::string(percent > 0 ? " (+" : " (") + text + "%)";
}

}  // namespace

Verdict Comparison::verdict() const {
    Verdict verdict = Verdict::Same;
    for (const Difference& difference : differences) {
        constexpr Verdict verdicts[] = {Verdict::Patch, Verdict::Minor, Verdict::Major};
        verdict = std::max(verdict, verdicts[static_cast<std::size_t>(difference.kind)]);
    }
    return verdict;
}

const char* textOf(Kind kind) {
    constexpr const char* texts[] = {"inside", "compatible", "breaking"};
    return texts[static_cast<std::size_t>(kind)];
}

const char* textOf(Change change) {
    constexpr const char* texts[] = {"changed", "added", "removed"};
    return texts[static_cast<std::size_t>(change)];
}

const char* textOf(Verdict verdict) {
    constexpr const char* texts[] = {"same", "patch", "minor", "major"};
    return texts[static_cast<std::size_t>(verdict)];
}

std::string lineOf(const Difference& difference) {
    const std::string& path = difference.path;
    std::string line = difference.kernel.empty() ? "package" : HUTPathUtils::shown(difference.kernel);
    line += std::string(": ") + textOf(difference.kind) + ": " + path;
    if (difference.change != Change::Changed) return line + ' ' + textOf(difference.change);
    line += (path.empty() ? "" : ": ") + difference.field;
    if (!difference.oldText && !difference.newText) return line + " differ";
    line += ' ' + valueText(difference.oldText) + " -> " + valueText(difference.newText);
    return difference.percent ? line + percentText(*difference.percent) : line;
}

}  // namespace kfab::compare
