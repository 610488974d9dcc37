#pragma once

#include "platform/base/Export.h"
#include "platform/xml/Errors.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace lmx60 {

class ElementTree;

/// An element of a tree, or none; as cheap to copy as a pointer. The tree must stay where it is meanwhile.
class KP_EXPORT Element {
public:
    /// The children of an element, in document order.
    class Children;

    Element() = default;

    explicit operator bool() const { return tree_ != nullptr; }

    /// Without its prefix.
    std::string_view name() const;
    /// The line where it begins, from 1.
    int line() const;
    /// Without white space at both ends; empty for an element that has children.
    std::string_view text() const;
    std::optional<std::string_view> attribute(std::string_view name) const;

    /// None of none.
    Children children() const;
    /// The first child of a name, or none.
    Element child(std::string_view name) const;

private:
    friend class ElementTree;
    Element(const ElementTree& tree, std::size_t index) : tree_(&tree), index_(index) {}

    const ElementTree* tree_ = nullptr;
    std::size_t index_ = 0;
};

class KP_EXPORT Element::Children {
public:
    class KP_EXPORT Iterator {
    public:
        Element operator*() const { return at_; }
        Iterator& operator++();
        bool operator==(const Iterator& other) const { return at_.index_ == other.at_.index_; }

    private:
        friend class Children;
        explicit Iterator(Element at) : at_(at) {}
        Element at_;
    };

    Iterator begin() const { return Iterator(first_); }
    Iterator end() const { return Iterator(end_); }

private:
    friend class Element;
    Children(Element first, Element end) : first_(first), end_(end) {}

    Element first_, end_;
};

/// A document as it stands, for readers that take what they know of it and pass over the rest, in any order.
/// It keeps the elements in the namespace of the document element, whatever their prefix, with their
/// attributes in that namespace or in none. An element of another namespace is passed over with all that it
/// holds.
class KP_EXPORT ElementTree {
public:
    /// Without a root, until a reader of records takes a document in (Reader.h).
    ElementTree() = default;
    /// Throws ReadError for what is not well-formed or declares a document type, and for what is larger or
    /// deeper than any document may be.
    explicit ElementTree(std::string document);

    Element root() const { return {*this, 0}; }
    /// All elements, in document order, the root first.
    std::size_t size() const { return nodes_.size(); }
    Element operator[](std::size_t index) const { return {*this, index}; }

    /// The namespace of the document element; empty for none.
    const std::string& namespaceName() const { return namespace_; }

    /// What takes a document in.
    class Builder;

private:
    friend class Element;

    /// A piece of text_. Documents are far smaller than what 32 bits count.
    struct Piece {
        std::uint32_t begin = 0, end = 0;
    };
    struct Attribute {
        std::string_view name;
        Piece value;
    };
    struct Node {
        std::string_view name;
        int line = 0;
        std::uint32_t next = 0;  // the first node behind this one and all below it
        std::uint32_t firstAttribute = 0, endAttribute = 0;
        Piece text{};
    };

    std::string_view text(Piece piece) const {
        return std::string_view(text_).substr(piece.begin, piece.end - piece.begin);
    }

    std::string namespace_;
    std::set<std::string, std::less<>> names_;
    std::vector<Node> nodes_;  // in document order
    std::vector<Attribute> attributes_;
    std::string text_;
};

}  // namespace lmx60
