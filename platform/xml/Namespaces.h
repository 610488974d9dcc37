#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lmx60 {

/// A name taken apart; the prefix may be empty.
struct QualifiedName {
    std::string_view prefix, name;

    explicit QualifiedName(std::string_view qualified);
};

/// Which prefixes stand for the namespace of the document element, at a place in the document. The parser
/// could tell as well, but repeats a whole namespace with each name, however long that is.
class Namespaces {
public:
    /// Takes the declarations of an element that begins, the document element first. False when there are too
    /// many.
    bool enter(const QualifiedName& element, const char** attributes);
    void leave();

    /// The namespace of the document element; empty for none.
    const std::string& own() const { return own_; }
    /// Whether elements of the prefix are in it; none for a prefix that is not declared.
    std::optional<bool> areOwn(std::string_view prefix) const;

private:
    struct Declaration {
        std::string prefix;
        bool isOwn = false;
        std::size_t level = 0;
    };

    std::string own_;
    std::size_t level_ = 0;
    std::vector<Declaration> declared_;
};

}  // namespace lmx60
