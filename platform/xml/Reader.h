#pragma once

#include "platform/base/Export.h"
#include "platform/xml/Bytes.h"
#include "platform/xml/Table.h"

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

namespace lmx60 {

class ElementTree;

/// Told of each unknown element or attribute that is passed over; it may throw the error in a ReadError to
/// refuse the document. By then the record has all known attributes of the element at hand. Without a
/// listener what is unknown is refused.
using UnknownListener = std::function<void(const Error&)>;

/// Reads a whole document into a record. The record must be newly constructed. Document type declarations are
/// refused; namespace declarations and `xsi:` attributes are passed over. Children are accepted in the order
/// of the tables, where a table does not say otherwise. Throws ReadError, also for what exceeds the limits of
/// documents (Limits.h); the record then holds what was read before the error.
///
/// @param tree a new one, which takes the document in as well, with its lines; none unless given
KP_EXPORT void readInto(void* record, const Table& table, std::string_view element, std::string document,
                        const UnknownListener& onUnknown = {}, ElementTree* tree = nullptr);

/// As readInto, but from a file; also throws ReadError of kind Unreadable.
KP_EXPORT void readFileInto(void* record, const Table& table, std::string_view element,
                            const std::string& path, const UnknownListener& onUnknown = {});

/// A record from a document with its element at the top, be it the root of a kind of document or not.
/// @{
template <class R>
R parse(std::string document, const UnknownListener& onUnknown, ElementTree* tree) {
    R record;
    readInto(&record, R::table, R::element, std::move(document), onUnknown, tree);
    return record;
}

template <class R>
R parse(std::string document, const UnknownListener& onUnknown = {}, std::string_view element = R::element) {
    R record;
    readInto(&record, R::table, element, std::move(document), onUnknown);
    return record;
}

template <class R>
R parse(const char* document, std::size_t length, const UnknownListener& onUnknown = {}) {
    return parse<R>(std::string(document, length), onUnknown);
}

template <class R>
R parseFile(const std::string& path, const UnknownListener& onUnknown = {}) {
    R record;
    readFileInto(&record, R::table, R::element, path, onUnknown);
    return record;
}

template <class R>
R parseStream(std::istream& stream, const UnknownListener& onUnknown = {}) {
    return parse<R>(readBytes(stream), onUnknown);
}
/// @}

}  // namespace lmx60
