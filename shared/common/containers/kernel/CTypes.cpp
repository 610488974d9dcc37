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

constexpr NamedSize booleans[] = {{"bool", 1}, {"_Bool", 1}};

/// Those of the size of a pointer.
constexpr std::string_view wordSized[] = {"size_t",    "ssize_t",  "ptrdiff_t", "intptr_t",
                                          "uintptr_t", "intmax_t", "uintmax_t"};

/// Those whose name goes on with their size.
constexpr std::string_view sized[] = {"int", "uint", "int_least", "uint_least"};
constexpr NamedSize bits[] = {{"8_t", 1}, {"16_t", 2}, {"32_t", 4}, {"64_t", 8}};

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

template <class Names>
bool isOneOf(const Names& names, std::string_view name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

/// Of a vector such as "float4", or of an integer such as "uint16_t".
std::optional<std::uint32_t> sizeByDigits(std::string_view type) {
    const std::size_t digits = std::min(type.find_first_of("0123456789"), type.size());
    const std::string_view name = type.substr(0, digits), rest = type.substr(digits);
    if (isOneOf(sized, name))
        if (const auto size = find(bits, rest)) return size;
    const auto element = find(elements, name);
    for (const VectorLength& length : vectorLengths)
        if (element && length.digits == rest) return *element * length.elements;
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
    const bool isNothing = signs + ints == 0 && rest.empty();
    if (isNothing || signs > 1 || ints > 1 || (ints > 0 && rest == "char")) return {};
    return find(integers, rest);
}

}  // namespace

std::optional<std::uint32_t> sizeOfCType(std::string_view type) {
    if (type.ends_with('*') || isOneOf(wordSized, type)) return pointerBytes;
    for (const auto size : {find(elements, type), find(booleans, type), sizeByDigits(type)})
        if (size) return size;
    std::vector<std::string> words;
    boost::algorithm::split(words, type, boost::algorithm::is_any_of(" "),
                            boost::algorithm::token_compress_on);
    return sizeOfInteger(std::move(words));
}

}  // namespace kfab::kernel
