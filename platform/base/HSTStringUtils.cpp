#include "platform/base/HSTStringUtils.h"

#include <algorithm>

namespace {

char fold(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool HSTStringUtils::equalsIgnoreCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return fold(x) == fold(y); });
}

bool HSTStringUtils::startsWithIgnoreCase(std::string_view text, std::string_view prefix) {
    return equalsIgnoreCase(text.substr(0, prefix.size()), prefix);
}

std::string HSTStringUtils::foldCase(std::string_view text) {
    std::string folded(text);
    std::transform(folded.begin(), folded.end(), folded.begin(), fold);
    return folded;
}
