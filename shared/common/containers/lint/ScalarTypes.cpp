#include "containers/lint/ScalarTypes.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string>
#include <vector>

namespace kfab::lint {
namespace {

struct ScalarType {
    std::string_view name;
    std::uint64_t size;
    bool hasVectors;  // as OpenCL has them: "float4"
};

constexpr ScalarType scalarTypes[] = {
    {"bool", 1, false},     {"_Bool", 1, false},   {"char", 1, true},       {"uchar", 1, true},
    {"short", 2, true},     {"ushort", 2, true},   {"int", 4, true},        {"uint", 4, true},
    {"long", 8, true},      {"ulong", 8, true},    {"half", 2, true},       {"float", 4, true},
    {"double", 8, true},    {"int8_t", 1, false},  {"uint8_t", 1, false},   {"int16_t", 2, false},
    {"uint16_t", 2, false}, {"int32_t", 4, false}, {"uint32_t", 4, false},  {"int64_t", 8, false},
    {"uint64_t", 8, false}, {"size_t", 8, false},  {"ptrdiff_t", 8, false}, {"intptr_t", 8, false},
    {"uintptr_t", 8, false}};

const ScalarType* find(std::string_view name) {
    const auto found = std::find_if(std::begin(scalarTypes), std::end(scalarTypes),
                                    [&](const ScalarType& type) { return type.name == name; });
    return found == std::end(scalarTypes) ? nullptr : found;
}

std::vector<std::string> wordsOf(std::string_view type) {
    std::vector<std::string> words(1);
    for (const char c : type) {
        if (std::isspace(static_cast<unsigned char>(c)) == 0)
            words.back() += c;
        else if (!words.back().empty())
            words.emplace_back();
    }
    std::erase_if(words, [](const std::string& word) {
        return word.empty() || word == "const" || word == "volatile" || word == "restrict" ||
               word == "signed" || word == "unsigned";
    });
    return words;
}

std::optional<std::uint64_t> sizeOfWord(const std::string& word) {
    if (const ScalarType* type = find(word)) return type->size;
    const std::size_t digits = word.find_last_not_of("0123456789") + 1;
    const ScalarType* element = find(std::string_view(word).substr(0, digits));
    if (element == nullptr || !element->hasVectors) return {};
    for (const std::uint64_t count : {2, 3, 4, 8, 16})
        if (word.substr(digits) == std::to_string(count)) return element->size * (count == 3 ? 4 : count);
    return {};
}

}  // namespace

std::optional<std::uint64_t> sizeOfType(std::string_view type) {
    const std::vector<std::string> words = wordsOf(type);
    const bool hasSign = type.find("signed") != std::string_view::npos;
    if (words.empty()) return hasSign ? std::optional<std::uint64_t>(4) : std::nullopt;
    if (words.size() == 1) return sizeOfWord(words.front());
    const auto isPartOfInteger = [](const std::string& word) {
        return word == "int" || word == "long" || word == "short";
    };
    if (!std::all_of(words.begin(), words.end(), isPartOfInteger)) return {};
    return std::find(words.begin(), words.end(), "short") == words.end() ? 8 : 2;
}

bool isPointerType(std::string_view type) {
    return type.find_first_of("*[") != std::string_view::npos;
}

}  // namespace kfab::lint
