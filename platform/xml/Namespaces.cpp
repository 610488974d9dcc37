#include "platform/xml/Namespaces.h"

#include <algorithm>

namespace lmx60 {
namespace {

constexpr std::size_t mostDeclarations = 100;

/// The prefix that an attribute declares: what follows "xmlns:", and none for "xmlns".
std::optional<std::string_view> declaredBy(const char* attribute) {
    const QualifiedName name(attribute);
    if (name.prefix == "xmlns") return name.name;
    if (name.prefix.empty() && name.name == "xmlns") return "";
    return std::nullopt;
}

}  // namespace

QualifiedName::QualifiedName(std::string_view qualified) : name(qualified) {
    const std::size_t colon = qualified.find(':');
    if (colon == std::string_view::npos) return;
    prefix = qualified.substr(0, colon);
    name = qualified.substr(colon + 1);
}

bool Namespaces::enter(const QualifiedName& element, const char** attributes) {
    for (const char** attribute = attributes; level_ == 0 && *attribute != nullptr; attribute += 2)
        if (declaredBy(attribute[0]) == element.prefix) own_ = attribute[1];
    ++level_;
    for (const char** attribute = attributes; *attribute != nullptr; attribute += 2) {
        const auto prefix = declaredBy(attribute[0]);
        if (prefix) declared_.push_back({std::string(*prefix), own_ == attribute[1], level_});
    }
    return declared_.size() <= mostDeclarations;
}

void Namespaces::leave() {
    while (!declared_.empty() && declared_.back().level == level_)
        declared_.pop_back();
    --level_;
}

std::optional<bool> Namespaces::areOwn(std::string_view prefix) const {
    const auto found =
        std::find_if(declared_.rbegin(), declared_.rend(),
                     [&](const Declaration& declaration) { return declaration.prefix == prefix; });
    if (found != declared_.rend()) return found->isOwn;
    if (prefix.empty()) return own_.empty();
    return prefix == "xml" ? std::optional(false) : std::nullopt;
}

}  // namespace lmx60
