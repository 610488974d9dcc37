#pragma once

#include "platform/base/Export.h"
#include "platform/files/HUTFile.h"
#include "platform/xml/Table.h"

#include <ostream>
#include <string>
#include <string_view>

namespace lmx60 {

/// The document of a record: an XML declaration, then one element a line, two spaces a level, a line feed
/// after each, attributes on their element's line. Throws WriteError when the record or one below it lacks
/// something required or holds a character that XML cannot carry, and for what exceeds the limits of
/// documents (Limits.h); the text names the element or the limit.
KP_EXPORT std::string format(const void* record, const Table& table, std::string_view element);

template <class R>
std::string toString(const R& record, std::string_view element = R::element) {
    return format(&record, R::table, element);
}

template <class R>
void write(const R& record, std::ostream& stream) {
    stream << toString(record);
}

/// Replaces the file as a whole or not at all. Throws what HUTFile::writeFile throws.
template <class R>
void writeFile(const R& record, const std::string& path) {
    HUTFile::writeFile(path, toString(record));
}

}  // namespace lmx60
