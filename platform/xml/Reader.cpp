#include "platform/xml/Reader.h"

#include "platform/base/Exceptions.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/xml/StarredNames.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <span>
#include <vector>

#include <expat.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace lmx60 {

ReadError::~ReadError() = default;

namespace {

/// Text of a document as shown in an error: cut when long, without what would upset a terminal.
std::string quoted(std::string_view text) {
    constexpr std::size_t longest = 80;
    std::string shown = "'";
    for (const char c : text.substr(0, longest))
        shown += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? ' ' : c;
    if (text.size() > longest) shown += "...";
    return shown + "'";
}

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

/// The parser goes over a piece that is not the last one twice, to count its lines. It doubles its memory
/// until a piece fits behind what is left of the one before, and tells its size by an int.
constexpr std::size_t longestPiece = std::size_t{1} << 29;

/// Runs what reads a file.
auto reading(auto work) {
    try {
        return work();
    } catch (const HEXAlgException& failure) {
        throw ReadError({ErrorKind::Unreadable, failure.what(), 0});
    }
}

/// An element that is open.
struct Frame {
    std::string_view name;
    const Field* field = nullptr;  // how it stands in its parent; none for the document element
    void* record = nullptr;        // none for a leaf or a marker
    const Table* table = nullptr;
    const Field* reached = nullptr;  // the child field that was met last
    bool met = false;                // whether it was met at all
};

class Reader {
public:
    Reader(void* record, const Table& table, std::string_view element, const UnknownListener& onUnknown,
           std::size_t maximumElements = SIZE_MAX);

    void read(std::string document);
    void readFile(const std::string& path);

private:
    struct Free {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    std::span<char> makeRoom(std::size_t size);
    void parse(std::size_t size, bool isLast);

    void start(std::string_view name, const char** attributes);
    void end();
    void text(std::string_view text);

    void openRoot(std::string_view name);
    const Field* findChild(const Frame& parent, std::string_view name) const;
    void advanceTo(Frame& parent, const Field& field, std::string_view name);
    void requireBetween(const Frame& parent, const Field* from, const Field* to) const;
    void takeAttributes(const Frame& frame, const char** attributes);
    void takeLeaf(const Frame& leaf);

    void unknown(ErrorKind kind, const std::string& text) const;
    [[noreturn]] void fail(ErrorKind kind, const std::string& text) const;
    int line() const { return static_cast<int>(XML_GetCurrentLineNumber(parser_.get())); }

    /// Runs one event; an exception must not cross the parser, so it is kept until the parser returns.
    template <class Event>
    static void guarded(void* self, Event event);

    void* root_;
    const Table& rootTable_;
    std::string_view rootElement_;
    const UnknownListener& onUnknown_;
    std::size_t elementsLeft_;
    std::unique_ptr<XML_ParserStruct, Free> parser_;
    bool starredNames_ = false;
    std::vector<Frame> open_;
    std::string leafText_;
    int skipped_ = 0;  // depth inside an element that is passed over
    std::exception_ptr failure_;
};

void Reader::fail(ErrorKind kind, const std::string& text) const {
    throw ReadError({kind, text, line()});
}

void Reader::unknown(ErrorKind kind, const std::string& text) const {
    if (!onUnknown_) fail(kind, text);
    onUnknown_({kind, text, line()});
}

template <class Event>
void Reader::guarded(void* self, Event event) {
    auto& reader = *static_cast<Reader*>(self);
    if (reader.failure_) return;
    try {
        event(reader);
    } catch (...) {
        reader.failure_ = std::current_exception();
        XML_StopParser(reader.parser_.get(), XML_FALSE);
    }
}

Reader::Reader(void* record, const Table& table, std::string_view element, const UnknownListener& onUnknown,
               std::size_t maximumElements)
    : root_(record),
      rootTable_(table),
      rootElement_(element),
      onUnknown_(onUnknown),
      elementsLeft_(maximumElements),
      parser_(XML_ParserCreate(nullptr)) {
    if (!parser_) throw std::bad_alloc();
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(
        parser_.get(),
        [](void* self, const XML_Char* name, const XML_Char** attributes) {
            guarded(self, [&](Reader& reader) {
                const bool isStarred = reader.starredNames_ && starred_names::isReplaced(name);
                isStarred ? reader.start(starred_names::original(name), attributes)
                          : reader.start(name, attributes);
            });
        },
        [](void* self, const XML_Char*) { guarded(self, [](Reader& reader) { reader.end(); }); });
    XML_SetCharacterDataHandler(parser_.get(), [](void* self, const XML_Char* data, int length) {
        guarded(self, [&](Reader& reader) { reader.text({data, static_cast<std::size_t>(length)}); });
    });
    XML_SetStartDoctypeDeclHandler(
        parser_.get(), [](void* self, const XML_Char*, const XML_Char*, const XML_Char*, int) {
            guarded(self, [](Reader& reader) {
                reader.fail(ErrorKind::DocumentType, "document type declarations are not accepted");
            });
        });
}

void Reader::read(std::string document) {
    starredNames_ = starred_names::replaceIn(document);
    bool isLast = false;
    for (std::size_t at = 0; !isLast;) {
        const std::size_t size = std::min(longestPiece, document.size() - at);
        document.copy(makeRoom(size).data(), size, at);
        at += size;
        isLast = at == document.size();
        if (isLast) std::string().swap(document);
        parse(size, isLast);
    }
}

/// Reads a file whose size is known and can be one piece into the parser's own memory, without a copy
/// besides.
void Reader::readFile(const std::string& path) {
    const disk::FileDescriptor file = reading([&] { return disk::open(path, O_RDONLY); });
    const struct stat status = reading([&] { return disk::status(file); });
    const auto size = static_cast<std::size_t>(status.st_size);
    if (!S_ISREG(status.st_mode) || size == 0 || size > longestPiece)
        return read(reading([&] { return disk::readAll(file); }));
    const std::span<char> room = makeRoom(size);
    const auto document = room.first(reading([&] { return disk::read(file, room.data(), size); }));
    starredNames_ = starred_names::replaceIn(document);
    parse(document.size(), true);
}

std::span<char> Reader::makeRoom(std::size_t size) {
    void* room = XML_GetBuffer(parser_.get(), static_cast<int>(size + 1));  // it gives none for no bytes
    if (room == nullptr) throw std::bad_alloc();
    return {static_cast<char*>(room), size};
}

void Reader::parse(std::size_t size, bool isLast) {
    const XML_Status status = XML_ParseBuffer(parser_.get(), static_cast<int>(size), isLast);
    if (failure_) std::rethrow_exception(failure_);
    if (status != XML_STATUS_OK) fail(ErrorKind::Syntax, XML_ErrorString(XML_GetErrorCode(parser_.get())));
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

void Reader::requireBetween(const Frame& parent, const Field* from, const Field* to) const {
    for (const Field* field = from; field != to; ++field) {
        if (field->occurs == Occurs::Required)
            fail(ErrorKind::MissingElement,
                 "element " + quoted(parent.name) + " lacks its required element " + quoted(field->name));
    }
}

void Reader::advanceTo(Frame& parent, const Field& field, std::string_view name) {
    if (&field == parent.reached && parent.met) {
        if (field.occurs != Occurs::Any)
            fail(ErrorKind::RepeatedElement,
                 "element " + quoted(name) + " occurs more than once in " + quoted(parent.name));
        return;
    }
    requireBetween(parent, parent.met ? parent.reached + 1 : parent.reached, &field);
    parent.reached = &field;
    parent.met = true;
}

void Reader::start(std::string_view name, const char** attributes) {
    if (skipped_ > 0) {
        ++skipped_;
        return;
    }
    if (elementsLeft_-- == 0) fail(ErrorKind::TooManyElements, "there are too many elements");
    if (open_.size() >= maximumDepth)
        fail(ErrorKind::TooDeep, "elements are nested deeper than " + std::to_string(maximumDepth));
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
        advanceTo(parent, *field, name);
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
    const auto known = frame.table != nullptr ? frame.table->attributes() : std::span<const Field>();
    for (; *attributes != nullptr; attributes += 2) {
        const std::string_view name = attributes[0];
        if (name == "xmlns" || name.starts_with("xmlns:") || name.starts_with("xsi:")) continue;
        const auto field = std::find_if(known.begin(), known.end(),
                                        [&](const Field& candidate) { return candidate.name == name; });
        if (field == known.end()) {
            unknown(ErrorKind::UnknownAttribute,
                    "attribute " + quoted(name) + " of element " + quoted(frame.name) + " is not known");
            continue;
        }
        const ErrorKind error = field->parse(frame.record, attributes[1]);
        if (error != ErrorKind::None)
            fail(error, describeValueError(error, attributes[1]) + " in attribute " + quoted(name) +
                            " of element " + quoted(frame.name));
    }
    for (const Field& field : known) {
        if (field.occurs == Occurs::Required && field.count(frame.record) == 0)
            fail(ErrorKind::MissingAttribute,
                 "element " + quoted(frame.name) + " lacks its required attribute " + quoted(field.name));
    }
}

void Reader::text(std::string_view text) {
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
    if (skipped_ > 0) {
        --skipped_;
        return;
    }
    const Frame& frame = open_.back();
    if (frame.table != nullptr) {
        requireBetween(frame, frame.met ? frame.reached + 1 : frame.reached, frame.table->end());
    } else if (frame.field->kind == FieldKind::Leaf) {
        takeLeaf(frame);
    }
    open_.pop_back();
}

}  // namespace

std::string readBytes(const std::string& path) {
    return reading([&] { return HUTFile::readFile(path); });
}

void readInto(void* record, const Table& table, std::string_view element, std::string document,
              const UnknownListener& onUnknown, std::size_t maximumElements) {
    Reader(record, table, element, onUnknown, maximumElements).read(std::move(document));
}

void readFileInto(void* record, const Table& table, std::string_view element, const std::string& path,
                  const UnknownListener& onUnknown) {
    Reader(record, table, element, onUnknown).readFile(path);
}

}  // namespace lmx60
