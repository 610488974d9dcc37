#include "platform/xml/ElementTree.h"

#include "platform/xml/LeafText.h"

#include <algorithm>

namespace lmx60 {

std::string_view Element::name() const {
    return tree_->nodes_[index_].name;
}

int Element::line() const {
    return tree_->nodes_[index_].line;
}

std::string_view Element::text() const {
    return collapsed(tree_->text(tree_->nodes_[index_].text));
}

std::optional<std::string_view> Element::attribute(std::string_view name) const {
    const auto begin = tree_->attributes_.begin();
    const auto end = begin + tree_->nodes_[index_].endAttribute;
    const auto found = std::find_if(begin + tree_->nodes_[index_].firstAttribute, end,
                                    [&](const auto& attribute) { return attribute.name == name; });
    if (found == end) return std::nullopt;
    return tree_->text(found->value);
}

Element::Children Element::children() const {
    if (tree_ == nullptr) return {{}, {}};
    return {Element(*tree_, index_ + 1), Element(*tree_, tree_->nodes_[index_].next)};
}

Element Element::child(std::string_view name) const {
    for (const Element child : children())
        if (child.name() == name) return child;
    return {};
}

Element::Children::Iterator& Element::Children::Iterator::operator++() {
    at_.index_ = at_.tree_->nodes_[at_.index_].next;
    return *this;
}

}  // namespace lmx60
