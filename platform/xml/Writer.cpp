#include "platform/xml/Writer.h"

#include "platform/base/HI18N.h"
#include "platform/xml/Limits.h"

#include <utility>

namespace lmx60 {

WriteError::~WriteError() = default;

namespace {

enum class Place { Text, Attribute };

/// Whether a character stands in a document as it is; all others are rare and looked at one by one.
bool standsAsItIs(char c) {
    return static_cast<unsigned char>(c) >= 0x20 && c != '<' && c != '>' && c != '&' && c != '"';
}

class Writer {
public:
    std::string write(const void* record, const Table& table, std::string_view element) {
        out_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        writeRecord(record, table, element);
        return std::move(out_);
    }

private:
    void writeRecord(const void* record, const Table& table, std::string_view element);
    void writeAttributes(const void* record, const Table& table);
    void writeChild(const void* record, const Field& field, std::size_t index);
    void writeValue(const void* record, const Field& field, std::size_t index, Place place);
    void appendEscaped(std::string_view value, std::string_view name, Place place);
    void beginTag(std::string_view element);
    void endElement(std::string_view end);
    void indent() { out_.append(depth_ * 2, ' '); }

    static void require(bool holds, const char* otherwise) {
        if (!holds) throw WriteError(otherwise);
    }

    std::string out_;
    std::string value_;
    std::size_t depth_ = 0;
    std::size_t elements_ = 0;
};

void Writer::writeRecord(const void* record, const Table& table, std::string_view element) {
    if (const Field* missing = table.firstMissing(record)) {
        const char* kind = missing->kind == FieldKind::Attribute ? "attribute" : "element";
        throw WriteError("element '" + std::string(element) + "' lacks its required " + kind + " '" +
                         std::string(missing->name) + "'");
    }
    beginTag(element);
    writeAttributes(record, table);
    const std::size_t endOfTag = out_.size();
    ++depth_;
    for (const Field& field : table.children()) {
        for (std::size_t index = 0; index < field.count(record); ++index) {
            if (out_.size() == endOfTag) out_ += ">\n";
            writeChild(record, field, index);
        }
    }
    --depth_;
    if (out_.size() == endOfTag) {
        endElement("/>\n");
    } else {
        indent();
        out_.append("</").append(element);
        endElement(">\n");
    }
}

void Writer::beginTag(std::string_view element) {
    if (depth_ == maximumDepth) throw WriteError("in element '" + std::string(element) + "' " + tooDeep);
    require(++elements_ <= maximumElements, tooManyElements);
    indent();
    out_.append("<").append(element);
}

void Writer::endElement(std::string_view end) {
    out_ += end;
    require(out_.size() <= maximumDocument, tooLarge);
}

void Writer::writeAttributes(const void* record, const Table& table) {
    for (const Field& field : table.attributes()) {
        if (field.count(record) == 0) continue;
        out_.append(" ").append(field.name).append("=\"");
        writeValue(record, field, 0, Place::Attribute);
        out_ += '"';
    }
}

void Writer::writeChild(const void* record, const Field& field, std::size_t index) {
    if (field.kind == FieldKind::Record)
        return writeRecord(field.at(record, index), field.childTable(), field.name);
    beginTag(field.name);
    if (field.kind == FieldKind::Marker) return endElement("/>\n");
    out_ += '>';
    writeValue(record, field, index, Place::Text);
    out_.append("</").append(field.name);
    endElement(">\n");
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

}  // namespace lmx60
