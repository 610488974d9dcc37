#include "platform/xml/StarredNames.h"

#include "platform/xml/Errors.h"

#include <algorithm>
#include <vector>

namespace lmx60::starred_names {
namespace {

constexpr char star = '*';
constexpr char standIn = '.';

/// What is not looked into for tags.
struct Opaque {
    std::string_view opening;
    std::string_view closing;
};

constexpr Opaque opaqueKinds[] = {{"<?", "?>"}, {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<!", ">"}};

/// Where the last characters of the names in tags are: of those that end in a star, and of those that would
/// be mistaken for them once it is replaced.
struct Places {
    std::vector<std::size_t> starred;
    std::vector<std::size_t> alike;
};

/// Takes in the name of the tag at a place; hands back where the name ends.
std::size_t takeName(Places& places, std::string_view document, std::size_t tag) {
    const std::size_t begin = std::min(document.find_first_not_of("</", tag), document.size());
    const std::size_t end = std::min(document.find_first_of("</> \t\r\n", begin), document.size());
    const std::string_view name = document.substr(begin, end - begin);
    if (name.ends_with(star)) places.starred.push_back(end - 1);
    if (name.ends_with(standIn)) places.alike.push_back(end - 1);
    return end;
}

/// Comments, character data sections and processing instructions are passed over: tags in them are text.
Places findNames(std::string_view document) {
    Places places;
    for (auto place = document.find('<'); place < document.size(); place = document.find('<', place)) {
        const std::string_view rest = document.substr(place);
        const auto* const opaque =
            std::find_if(std::begin(opaqueKinds), std::end(opaqueKinds),
                         [&](const Opaque& kind) { return rest.starts_with(kind.opening); });
        if (opaque != std::end(opaqueKinds)) {
            place = document.find(opaque->closing, place + opaque->opening.size());
        } else {
            place = takeName(places, document, place);
        }
    }
    return places;
}

}  // namespace

bool replaceIn(std::span<char> bytes) {
    const std::string_view document(bytes.data(), bytes.size());
    if (document.find(star) == document.npos) return false;
    const Places places = findNames(document);
    if (places.starred.empty()) return false;
    if (!places.alike.empty()) {
        const auto before = document.substr(0, places.alike.front());
        const auto lines = std::count(before.begin(), before.end(), '\n');
        throw ReadError({ErrorKind::UnknownElement, "element names that end in '.' are not known",
                         static_cast<int>(lines) + 1});
    }
    for (const std::size_t place : places.starred)
        bytes[place] = standIn;
    return true;
}

bool isReplaced(std::string_view name) {
    return name.ends_with(standIn);
}

std::string original(std::string_view name) {
    return std::string(name.substr(0, name.size() - 1)) + star;
}

}  // namespace lmx60::starred_names
