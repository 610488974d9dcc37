#include "platform/xml/Writer.h"

#include "platform/base/Exceptions.h"
#include "platform/base/HI18N.h"
#include "platform/files/HUTFile.h"

#include <vector>

namespace lmx60 {

WriteError::~WriteError() = default;

namespace {

enum class Place { Text, Attribute };

/// Whether a character stands in a document as it is; all others are rare and looked at one by one.
bool standsAsItIs(char c) {
    return static_cast<unsigned char>(c) >= 0x20 && c != '<' && c != '>' && c != '&' && c != '"';
}

/// Works through a stack of its own: how deep records may be nested does not hang on the thread's stack.
class Writer {
public:
    std::string write(const void* record, const Table& table, std::string_view element) {
        out_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        startRecord(record, table, element);
        while (!open_.empty())
            writeNext(open_.back());
        return std::move(out_);
    }

private:
    /// A record whose element is not yet closed, and what of it is next.
    struct Frame {
        std::string_view element;
        const void* record = nullptr;
        const Table* table = nullptr;
        const Field* field = nullptr;
        std::size_t index = 0;
        bool empty = true;
    };

    void startRecord(const void* record, const Table& table, std::string_view element);
    void finishRecord();
    void writeNext(Frame& frame);
    void writeAttributes(const void* record, const Table& table);
    void writeLeaf(const void* record, const Field& field, std::size_t index);
    void writeValue(const void* record, const Field& field, std::size_t index, Place place);
    void appendEscaped(std::string_view value, std::string_view name, Place place);
    void beginTag(std::string_view element);
    void indent() { out_.append(open_.size() * 2, ' '); }

    std::string out_;
    std::string value_;
    std::vector<Frame> open_;
};

void Writer::startRecord(const void* record, const Table& table, std::string_view element) {
    if (const Field* missing = table.firstMissing(record)) {
        const char* kind = missing->kind == FieldKind::Attribute ? "attribute" : "element";
        throw WriteError("element '" + std::string(element) + "' lacks its required " + kind + " '" +
                         std::string(missing->name) + "'");
    }
    beginTag(element);
    writeAttributes(record, table);
    open_.push_back({.element = element, .record = record, .table = &table, .field = table.firstChild()});
}

void Writer::beginTag(std::string_view element) {
    if (open_.size() >= maximumDepth)
        throw WriteError("element '" + std::string(element) + "' is nested deeper than " +
                         std::to_string(maximumDepth));
    indent();
    out_.append("<").append(element);
}

void Writer::finishRecord() {
    const Frame frame = open_.back();
    open_.pop_back();
    if (frame.empty) {
        out_ += "/>\n";
    } else {
        indent();
        out_.append("</").append(frame.element).append(">\n");
    }
}

void Writer::writeNext(Frame& frame) {
    if (frame.field == frame.table->end()) {
        finishRecord();
        return;
    }
    const Field& field = *frame.field;
    if (frame.index == field.count(frame.record)) {
        ++frame.field;
        frame.index = 0;
        return;
    }
    if (frame.empty) out_ += ">\n";
    frame.empty = false;
    const std::size_t index = frame.index++;
    if (field.kind == FieldKind::Record) {
        startRecord(field.at(frame.record, index), field.childTable(), field.name);
    } else {
        writeLeaf(frame.record, field, index);
    }
}

void Writer::writeAttributes(const void* record, const Table& table) {
    for (const Field& field : table.attributes()) {
        if (field.count(record) == 0) continue;
        out_.append(" ").append(field.name).append("=\"");
        writeValue(record, field, 0, Place::Attribute);
        out_ += '"';
    }
}

void Writer::writeLeaf(const void* record, const Field& field, std::size_t index) {
    beginTag(field.name);
    if (field.kind == FieldKind::Marker) {
        out_ += "/>\n";
        return;
    }
    out_ += '>';
    writeValue(record, field, index, Place::Text);
    out_.append("</").append(field.name).append(">\n");
}

void Writer::writeValue(const void* record, const Field& field, std::size_t index, Place place) {
    value_.clear();
    field.format(record, index, value_);
    appendEscaped(value_, field.name, place);
}

void Writer::appendEscaped(std::string_view value, std::string_view name, Place place) {
    const auto refuse = [&] {
        throw WriteError("'" + std::string(name) + "' holds a character that XML cannot carry");
    };
    if (!HI18N::isUtf8(value)) refuse();
    if (value.find("\xEF\xBF\xBE") != value.npos || value.find("\xEF\xBF\xBF") != value.npos) refuse();
    for (const char c : value) {
        if (standsAsItIs(c)) {
            out_ += c;
        } else if (c == '<') {
            out_ += "&lt;";
        } else if (c == '>') {
            out_ += "&gt;";
        } else if (c == '&') {
            out_ += "&amp;";
        } else if (c == '"') {
            out_ += place == Place::Attribute ? "&quot;" : "\"";
        } else if (c == '\r') {
            out_ += "&#13;";
        } else if (c == '\t' || c == '\n') {
            out_ += place == Place::Text ? std::string(1, c) : c == '\t' ? "&#9;" : "&#10;";
        } else {
            refuse();
        }
    }
}

}  // namespace

std::string format(const void* record, const Table& table, std::string_view element) {
    return Writer().write(record, table, element);
}

Error replaceFile(const std::string& path, const std::string& bytes) {
    try {
        HUTFile::writeFile(path, bytes);
        return {};
    } catch (const HEXAlgException& failure) {
        return {ErrorKind::Unwritable, failure.what(), 0};
    }
}

}  // namespace lmx60
