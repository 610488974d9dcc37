#pragma once

#include "platform/base/Export.h"
#include "platform/xml/Table.h"

#include <ostream>
#include <string>
#include <string_view>

namespace lmx60 {

/// The document of a record: an XML declaration, then one element a line, two spaces a level, a line feed
/// after each, attributes on their element's line. Throws WriteError when the record or one below it lacks
/// something required, is nested deeper than can be read, or holds a character that XML cannot carry; the
/// text names the element.
KP_EXPORT std::string format(const void* record, const Table& table, std::string_view element);

/// Creates the file or replaces it by the bytes, as a whole or not at all. The error's kind is None when that
/// was done.
[[nodiscard]] KP_EXPORT Error replaceFile(const std::string& path, const std::string& bytes);

template <class R>
std::string toString(const R& record, std::string_view element = R::element) {
    return format(&record, R::table, element);
}

template <class R>
void write(const R& record, std::ostream& stream) {
    stream << toString(record);
}

template <class R>
[[nodiscard]] Error writeFile(const R& record, const std::string& path) {
    return replaceFile(path, toString(record));
}

}  // namespace lmx60
