#include "platform/xml/StarredNames.h"

#include "platform/xml/Errors.h"

#include <algorithm>
#include <vector>

namespace lmx60::starred_names {
namespace {

constexpr char star = '*';
constexpr char standIn = '.';

bool endsName(char c) {
    return c == '>' || c == '/' || c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/// Whether the character at a place is the last one of a name that directly follows "<" or "</".
bool endsTagName(std::string_view document, std::size_t place) {
    if (place + 1 >= document.size() || !endsName(document[place + 1])) return false;
    const std::size_t before = document.substr(0, place).find_last_of("<>/= \t\r\n\"'");
    if (before == std::string_view::npos) return false;
    if (document[before] == '<') return true;
    return document[before] == '/' && before > 0 && document[before - 1] == '<';
}

std::vector<std::size_t> tagNamesEndingIn(char last, std::string_view document) {
    std::vector<std::size_t> places;
    for (auto place = document.find(last); place != std::string_view::npos;
         place = document.find(last, place + 1)) {
        if (endsTagName(document, place)) places.push_back(place);
    }
    return places;
}

/// What is not looked into for tags.
struct Opaque {
    std::string_view opening;
    std::string_view closing;
};

constexpr Opaque opaqueKinds[] = {{"<?", "?>"}, {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<!", ">"}};

struct Range {
    std::size_t begin;
    std::size_t end;
};

/// The next "<" that is followed by the given character; the end of the document for none.
std::size_t findOpening(std::string_view document, char second, std::size_t from) {
    for (auto place = document.find(second, from + 1); place != std::string_view::npos;
         place = document.find(second, place + 1)) {
        if (document[place - 1] == '<') return place - 1;
    }
    return document.size();
}

/// Where comments, character data sections and processing instructions lie: tags in them are text.
std::vector<Range> opaqueRanges(std::string_view document) {
    std::vector<Range> ranges;
    std::size_t declaration = findOpening(document, '!', 0);
    std::size_t instruction = findOpening(document, '?', 0);
    while (std::min(declaration, instruction) < document.size()) {
        const std::size_t begin = std::min(declaration, instruction);
        const std::string_view rest = document.substr(begin);
        const Opaque& kind =
            *std::find_if(std::begin(opaqueKinds), std::end(opaqueKinds),
                          [&](const Opaque& opaque) { return rest.starts_with(opaque.opening); });
        const std::size_t end =
            std::min(document.find(kind.closing, begin + kind.opening.size()), document.size());
        ranges.push_back({begin, end});
        if (declaration < end) declaration = findOpening(document, '!', end);
        if (instruction < end) instruction = findOpening(document, '?', end);
    }
    return ranges;
}

void removeOpaque(std::vector<std::size_t>& places, const std::vector<Range>& opaque) {
    const auto isOpaque = [&](std::size_t place) {
        const auto after =
            std::upper_bound(opaque.begin(), opaque.end(), place,
                             [](std::size_t p, const Range& range) { return p < range.begin; });
        return after != opaque.begin() && place < std::prev(after)->end;
    };
    places.erase(std::remove_if(places.begin(), places.end(), isOpaque), places.end());
}

}  // namespace

bool replaceIn(std::span<char> bytes) {
    const std::string_view document(bytes.data(), bytes.size());
    std::vector<std::size_t> starred = tagNamesEndingIn(star, document);
    if (starred.empty()) return false;
    std::vector<std::size_t> alike = tagNamesEndingIn(standIn, document);
    const std::vector<Range> opaque = opaqueRanges(document);
    removeOpaque(starred, opaque);
    removeOpaque(alike, opaque);
    if (!starred.empty() && !alike.empty()) {
        const auto lines =
            std::count(document.begin(), document.begin() + static_cast<long>(alike.front()), '\n');
        throw ReadError({ErrorKind::UnknownElement, "element names that end in '.' are not known",
                         static_cast<int>(lines) + 1});
    }
    for (const std::size_t place : starred)
        bytes[place] = standIn;
    return !starred.empty();
}

bool isReplaced(std::string_view name) {
    return name.ends_with(standIn);
}

std::string original(std::string_view name) {
    return std::string(name.substr(0, name.size() - 1)) + star;
}

}  // namespace lmx60::starred_names
