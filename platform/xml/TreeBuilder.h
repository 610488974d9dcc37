#pragma once

#include "platform/xml/ElementTree.h"
#include "platform/xml/Namespaces.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace lmx60 {

/// Takes a document into a tree, event by event, as a parser tells of them (Parser.h). Throws ReadError.
class ElementTree::Builder {
public:
    /// The tree must be new.
    explicit Builder(ElementTree& tree) : tree_(tree) {}

    /// @param starredNames whether names were replaced in the document (StarredNames.h)
    void start(const char* name, const char** attributes, int line, bool starredNames);
    void end();
    void text(std::string_view text);

private:
    bool isOwn(const QualifiedName& name) const;
    std::string_view kept(std::string_view name);
    Piece keep(std::string_view text);
    void countOneMore();
    void endText();
    [[noreturn]] void fail(ErrorKind kind, const std::string& text) const;

    ElementTree& tree_;
    Namespaces namespaces_;
    std::vector<std::size_t> open_;
    int line_ = 0;
    int skipped_ = 0;  // depth inside an element that is passed over
};

}  // namespace lmx60
