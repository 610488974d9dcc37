#include "platform/xml/TreeBuilder.h"

#include "platform/xml/Limits.h"
#include "platform/xml/Parser.h"
#include "platform/xml/StarredNames.h"

#include <span>
#include <utility>

namespace lmx60 {
namespace {

/// Takes a document in as a tree and as nothing else.
class TreeParser final : private Parser {  // NOLINT(*-virtual-class-destructor): it is final
public:
    explicit TreeParser(ElementTree& tree) : builder_(tree) {}
    using Parser::parse;

private:
    void prepare(std::span<char> document) override { starredNames_ = starred_names::replaceIn(document); }
    void start(const char* name, const char** attributes) override {
        builder_.start(name, attributes, line(), starredNames_);
    }
    void end() override { builder_.end(); }
    void text(std::string_view text) override { builder_.text(text); }

    ElementTree::Builder builder_;
    bool starredNames_ = false;
};

}  // namespace

void ElementTree::Builder::fail(ErrorKind kind, const std::string& text) const {
    throw ReadError({kind, text, line_});
}

bool ElementTree::Builder::isOwn(const QualifiedName& name) const {
    const std::optional<bool> isOwn = namespaces_.areOwn(name.prefix);
    const bool isRoot = open_.empty();  // which nothing but a prefix of XML itself keeps out
    if (!isOwn || (isRoot && !*isOwn)) fail(ErrorKind::Syntax, "unbound prefix");
    return *isOwn;
}

/// The name in memory that stays.
std::string_view ElementTree::Builder::kept(std::string_view name) {
    auto place = tree_.names_.find(name);
    if (place == tree_.names_.end()) place = tree_.names_.emplace(name).first;
    return *place;
}

ElementTree::Piece ElementTree::Builder::keep(std::string_view text) {
    const auto begin = static_cast<std::uint32_t>(tree_.text_.size());
    tree_.text_ += text;
    return {begin, static_cast<std::uint32_t>(tree_.text_.size())};
}

void ElementTree::Builder::countOneMore() {
    if (tree_.nodes_.size() + tree_.attributes_.size() >= maximumElements)
        fail(ErrorKind::TooManyElements, "there are too many elements and attributes");
}

/// An element that has children has no text of its own: what was taken for it goes.
void ElementTree::Builder::endText() {
    if (open_.empty() || open_.back() + 1 != tree_.nodes_.size()) return;
    Piece& text = tree_.nodes_.back().text;
    tree_.text_.resize(text.begin);
    text.end = text.begin;
}

void ElementTree::Builder::start(const char* name, const char** attributes, int line, bool starredNames) {
    line_ = line;
    if (open_.size() + static_cast<std::size_t>(skipped_) >= maximumDepth) fail(ErrorKind::TooDeep, tooDeep);
    const QualifiedName qualified(name);
    if (!namespaces_.enter(qualified, attributes))
        fail(ErrorKind::TooManyElements, "there are too many namespaces");
    if (skipped_ > 0 || !isOwn(qualified)) {
        ++skipped_;
        return;
    }
    countOneMore();
    endText();
    open_.push_back(tree_.nodes_.size());
    Node& node = tree_.nodes_.emplace_back();
    const bool isStarred = starredNames && starred_names::isReplaced(qualified.name);
    node.name = isStarred ? kept(starred_names::original(qualified.name)) : kept(qualified.name);
    node.line = line;
    node.firstAttribute = static_cast<std::uint32_t>(tree_.attributes_.size());
    for (; *attributes != nullptr; attributes += 2) {
        const QualifiedName attribute(attributes[0]);
        if (attribute.prefix == "xmlns" || attribute.name == "xmlns") continue;
        if (!attribute.prefix.empty() && !isOwn(attribute)) continue;
        countOneMore();
        tree_.attributes_.push_back({kept(attribute.name), keep(attributes[1])});
    }
    node.endAttribute = static_cast<std::uint32_t>(tree_.attributes_.size());
    node.text.begin = node.text.end = static_cast<std::uint32_t>(tree_.text_.size());
}

void ElementTree::Builder::end() {
    namespaces_.leave();
    if (skipped_ > 0) {
        --skipped_;
        return;
    }
    tree_.nodes_[open_.back()].next = static_cast<std::uint32_t>(tree_.nodes_.size());
    open_.pop_back();
    if (open_.empty()) tree_.namespace_ = namespaces_.own();
}

void ElementTree::Builder::text(std::string_view text) {
    if (skipped_ == 0 && open_.back() + 1 == tree_.nodes_.size())
        tree_.nodes_.back().text.end = keep(text).end;
}

ElementTree::ElementTree(std::string document) {
    TreeParser(*this).parse(std::move(document));
}

}  // namespace lmx60
