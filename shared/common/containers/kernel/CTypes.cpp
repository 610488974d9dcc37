#include "containers/kernel/CTypes.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

namespace kfab::kernel {
namespace {

struct NamedSize {
    std::string_view name;
    std::uint32_t bytes;
};

constexpr std::uint32_t pointerBytes = 8;

/// Integers that are spelled in several words, without "signed", "unsigned" and "int".
constexpr NamedSize integers[] = {{"", 4}, {"char", 1}, {"short", 2}, {"long", 8}, {"long long", 8}};

/// Those of which OpenCL has vectors.
constexpr NamedSize elements[] = {{"char", 1}, {"uchar", 1}, {"short", 2}, {"ushort", 2},
                                  {"int", 4},  {"uint", 4},  {"long", 8},  {"ulong", 8},
                                  {"half", 2}, {"float", 4}, {"double", 8}};

constexpr NamedSize others[] = {
    {"bool", 1},           {"_Bool", 1},         {"size_t", 8},         {"ssize_t", 8},
    {"ptrdiff_t", 8},      {"intptr_t", 8},      {"uintptr_t", 8},      {"intmax_t", 8},
    {"uintmax_t", 8},      {"int8_t", 1},        {"uint8_t", 1},        {"int16_t", 2},
    {"uint16_t", 2},       {"int32_t", 4},       {"uint32_t", 4},       {"int64_t", 8},
    {"uint64_t", 8},       {"int_least8_t", 1},  {"uint_least8_t", 1},  {"int_least16_t", 2},
    {"uint_least16_t", 2}, {"int_least32_t", 4}, {"uint_least32_t", 4}, {"int_least64_t", 8},
    {"uint_least64_t", 8},
};

struct VectorLength {
    std::string_view digits;
    std::uint32_t elements;
};
constexpr VectorLength vectorLengths[] = {{"2", 2}, {"3", 4}, {"4", 4}, {"8", 8}, {"16", 16}};

template <class Sizes>
std::optional<std::uint32_t> find(const Sizes& sizes, std::string_view name) {
    for (const NamedSize& size : sizes)
        if (size.name == name) return size.bytes;
    return {};
}

std::optional<std::uint32_t> sizeOfVector(std::string_view type) {
    const std::size_t digits = std::min(type.find_first_of("0123456789"), type.size());
    const auto element = find(elements, type.substr(0, digits));
    for (const VectorLength& length : vectorLengths)
        if (element && length.digits == type.substr(digits)) return *element * length.elements;
    return {};
}

/// Such as "unsigned long int", in any order of words.
std::optional<std::uint32_t> sizeOfInteger(std::vector<std::string> words) {
    const auto take = [&](const std::string& word) { return std::erase(words, word); };
    const auto signs = take("signed") + take("unsigned");
    const auto ints = take("int");
    std::string rest;
    for (const std::string& word : words)
        rest += (rest.empty() ? "" : " ") + word;
    if (signs > 1 || ints > 1 || signs + ints + words.size() == 0 || (ints > 0 && rest == "char")) return {};
    return find(integers, rest);
}

}  // namespace

std::optional<std::uint32_t> sizeOfCType(std::string_view type) {
    if (type.ends_with('*')) return pointerBytes;
    for (const auto size : {find(elements, type), find(others, type), sizeOfVector(type)})
        if (size) return size;
    std::vector<std::string> words;
    boost::algorithm::split(words, type, boost::algorithm::is_any_of(" "),
                            boost::algorithm::token_compress_on);
    return sizeOfInteger(std::move(words));
}

}  // namespace kfab::kernel
