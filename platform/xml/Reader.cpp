#include "platform/xml/Reader.h"

#include "platform/xml/Limits.h"
#include "platform/xml/Parser.h"
#include "platform/xml/Quoted.h"
#include "platform/xml/StarredNames.h"
#include "platform/xml/TreeBuilder.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace lmx60 {
namespace {

std::string describeValueError(ErrorKind error, std::string_view value) {
    switch (error) {
        case ErrorKind::BelowMinimum:
            return "value " + quoted(value) + " is below the minimum";
        case ErrorKind::AboveMaximum:
            return "value " + quoted(value) + " is above the maximum";
        default:
            return "value " + quoted(value) + " is not a valid literal";
    }
}

bool isBlank(std::string_view text) {
    return std::all_of(text.begin(), text.end(), isBlankCharacter);
}

/// The attribute of a name, or none; a leaf has no table and no attributes.
const Field* findAttribute(const Table* table, std::string_view name) {
    if (table == nullptr) return nullptr;
    for (const Field& field : table->attributes())
        if (field.name == name) return &field;
    return nullptr;
}

/// An element that is open.
struct Frame {
    std::string_view name;
    const Field* field = nullptr;  // how it stands in its parent; none for the document element
    void* record = nullptr;        // none for a leaf or a marker
    const Table* table = nullptr;
    const Field* reached = nullptr;  // the first child field that may come next
    std::uint32_t met = 0;           // a bit for each child field

    std::uint32_t bitOf(const Field& child) const { return 1U << (&child - table->begin()); }
    bool hasMet(const Field& child) const { return (met & bitOf(child)) != 0; }
};
static_assert(Table::maximumFields <= 32);

class Reader final : private Parser {  // NOLINT(*-virtual-class-destructor): it is final
public:
    Reader(void* record, const Table& table, std::string_view element, const UnknownListener& onUnknown,
           ElementTree* tree = nullptr);

    using Parser::parse;
    using Parser::parseFile;

private:
    void prepare(std::span<char> document) override { starredNames_ = starred_names::replaceIn(document); }
    void start(const char* name, const char** attributes) override;
    void end() override;
    void text(std::string_view text) override;

    void startElement(std::string_view name, const char** attributes);
    void endElement();
    void openRoot(std::string_view name);
    const Field* findChild(const Frame& parent, std::string_view name) const;
    void meet(Frame& parent, const Field& field) const;
    void requireMet(const Frame& parent, const Field* end) const;
    void takeAttributes(const Frame& frame, const char** attributes);
    void takeAttribute(const Frame& frame, const Field& field, const char* value);
    void tellUnknownAttributes(const Frame& frame, const char** attributes) const;
    void takeLeaf(const Frame& leaf);

    void unknown(ErrorKind kind, const std::string& text) const;

    void* root_;
    const Table& rootTable_;
    std::string_view rootElement_;
    const UnknownListener& onUnknown_;
    std::size_t elements_ = 0;
    bool starredNames_ = false;
    std::vector<Frame> open_;
    std::string leafText_;
    int skipped_ = 0;  // depth inside an element that is passed over
    std::optional<ElementTree::Builder> tree_;
};

void Reader::unknown(ErrorKind kind, const std::string& text) const {
    if (!onUnknown_) fail(kind, text);
    onUnknown_({kind, text, line()});
}

Reader::Reader(void* record, const Table& table, std::string_view element, const UnknownListener& onUnknown,
               ElementTree* tree)
    : root_(record), rootTable_(table), rootElement_(element), onUnknown_(onUnknown) {
    if (tree != nullptr) tree_.emplace(*tree);
}

void Reader::openRoot(std::string_view name) {
    if (name != rootElement_)
        fail(ErrorKind::UnknownElement,
             "the document element is " + quoted(name) + ", not " + quoted(rootElement_));
    open_.push_back(
        {.name = rootElement_, .record = root_, .table = &rootTable_, .reached = rootTable_.firstChild()});
}

const Field* Reader::findChild(const Frame& parent, std::string_view name) const {
    for (const Field* field = parent.reached; field != parent.table->end(); ++field) {
        if (field->name == name) return field;
    }
    for (const Field* field = parent.table->firstChild(); field != parent.reached; ++field) {
        if (field->name == name)
            fail(ErrorKind::MisplacedElement, "element " + quoted(name) + " of " + quoted(parent.name) +
                                                  " must stand before " + quoted(parent.reached->name));
    }
    return nullptr;
}

void Reader::requireMet(const Frame& parent, const Field* end) const {
    for (const Field* field = parent.reached; field != end; ++field) {
        if (field->occurs == Occurs::Required && !parent.hasMet(*field))
            fail(ErrorKind::MissingElement,
                 "element " + quoted(parent.name) + " lacks its required element " + quoted(field->name));
    }
}

void Reader::meet(Frame& parent, const Field& field) const {
    if (field.occurs != Occurs::Any && parent.hasMet(field))
        fail(ErrorKind::RepeatedElement,
             "element " + quoted(field.name) + " occurs more than once in " + quoted(parent.name));
    if (parent.table->order() == Order::OfTable) {
        requireMet(parent, &field);
        parent.reached = &field;
    }
    parent.met |= parent.bitOf(field);
}

void Reader::start(const char* name, const char** attributes) {
    const bool isStarred = starredNames_ && starred_names::isReplaced(name);
    isStarred ? startElement(starred_names::original(name), attributes) : startElement(name, attributes);
    if (tree_) tree_->start(name, attributes, line(), starredNames_);
}

void Reader::startElement(std::string_view name, const char** attributes) {
    if (skipped_ > 0) {
        ++skipped_;
        return;
    }
    if (elements_++ == maximumElements) fail(ErrorKind::TooManyElements, tooManyElements);
    if (open_.size() == maximumDepth) fail(ErrorKind::TooDeep, tooDeep);
    if (open_.empty()) {
        openRoot(name);
    } else {
        Frame& parent = open_.back();
        const Field* field = parent.table == nullptr ? nullptr : findChild(parent, name);
        if (field == nullptr) {
            unknown(ErrorKind::UnknownElement,
                    "element " + quoted(name) + " is not known in " + quoted(parent.name));
            skipped_ = 1;
            return;
        }
        meet(parent, *field);
        Frame child{.name = field->name, .field = field};
        if (field->append != nullptr) child.record = field->append(parent.record);
        if (field->kind == FieldKind::Record) {
            child.table = &field->childTable();
            child.reached = child.table->firstChild();
        }
        open_.push_back(child);
        leafText_.clear();
    }
    takeAttributes(open_.back(), attributes);
}

void Reader::takeAttributes(const Frame& frame, const char** attributes) {
    bool isAllKnown = true;
    for (const char** at = attributes; *at != nullptr; at += 2) {
        const Field* field = findAttribute(frame.table, at[0]);
        isAllKnown = isAllKnown && field != nullptr;
        if (field != nullptr) takeAttribute(frame, *field, at[1]);
    }
    if (!isAllKnown) tellUnknownAttributes(frame, attributes);
    if (frame.table == nullptr) return;
    for (const Field& field : frame.table->attributes()) {
        if (field.occurs == Occurs::Required && field.count(frame.record) == 0)
            fail(ErrorKind::MissingAttribute,
                 "element " + quoted(frame.name) + " lacks its required attribute " + quoted(field.name));
    }
}

void Reader::takeAttribute(const Frame& frame, const Field& field, const char* value) {
    const ErrorKind error = field.parse(frame.record, value);
    if (error != ErrorKind::None)
        fail(error, describeValueError(error, value) + " in attribute " + quoted(field.name) +
                        " of element " + quoted(frame.name));
}

void Reader::tellUnknownAttributes(const Frame& frame, const char** attributes) const {
    for (; *attributes != nullptr; attributes += 2) {
        const std::string_view name = attributes[0];
        const bool isOfNamespaces = name == "xmlns" || name.starts_with("xmlns:") || name.starts_with("xsi:");
        if (!isOfNamespaces && findAttribute(frame.table, name) == nullptr)
            unknown(ErrorKind::UnknownAttribute,
                    "attribute " + quoted(name) + " of element " + quoted(frame.name) + " is not known");
    }
}

void Reader::text(std::string_view text) {
    if (tree_) tree_->text(text);
    if (skipped_ > 0) return;
    const Frame& frame = open_.back();
    if (frame.field != nullptr && frame.field->kind == FieldKind::Leaf) {
        leafText_ += text;
    } else if (!isBlank(text)) {
        fail(ErrorKind::UnexpectedText,
             "text " + quoted(text) + " may not stand in element " + quoted(frame.name));
    }
}

void Reader::takeLeaf(const Frame& leaf) {
    void* record = open_[open_.size() - 2].record;
    const ErrorKind error = leaf.field->parse(record, leafText_);
    if (error != ErrorKind::None)
        fail(error, describeValueError(error, leafText_) + " in element " + quoted(leaf.name));
}

void Reader::end() {
    endElement();
    if (tree_) tree_->end();
}

void Reader::endElement() {
    if (skipped_ > 0) {
        --skipped_;
        return;
    }
    const Frame& frame = open_.back();
    if (frame.table != nullptr) {
        requireMet(frame, frame.table->end());
    } else if (frame.field->kind == FieldKind::Leaf) {
        takeLeaf(frame);
    }
    open_.pop_back();
}

}  // namespace

void readInto(void* record, const Table& table, std::string_view element, std::string document,
              const UnknownListener& onUnknown, ElementTree* tree) {
    Reader(record, table, element, onUnknown, tree).parse(std::move(document));
}

void readFileInto(void* record, const Table& table, std::string_view element, const std::string& path,
                  const UnknownListener& onUnknown) {
    Reader(record, table, element, onUnknown).parseFile(path);
}

}  // namespace lmx60
