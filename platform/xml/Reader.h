#pragma once

#include "platform/base/Export.h"
#include "platform/xml/Bytes.h"
#include "platform/xml/Table.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <istream>
#include <iterator>
#include <string>
#include <string_view>

namespace lmx60 {

/// Told of each unknown element or attribute that is passed over. Without a listener they are errors.
using UnknownListener = std::function<void(const Error&)>;

/// Reads a whole document into a record. The record must be newly constructed. Document type declarations are
/// refused; namespace declarations and `xsi:` attributes are passed over. Children are accepted in the order
/// of the tables only. An element takes far more memory than the few bytes that it may have in a document:
/// one that nobody vouches for is refused when it has more than `maximumElements`. Throws ReadError; the
/// record then holds what was read before the error.
KP_EXPORT void readInto(void* record, const Table& table, std::string_view element, std::string document,
                        const UnknownListener& onUnknown = {}, std::size_t maximumElements = SIZE_MAX);

/// As readInto, but from a file; also throws ReadError of kind Unreadable.
KP_EXPORT void readFileInto(void* record, const Table& table, std::string_view element,
                            const std::string& path, const UnknownListener& onUnknown = {});

/// A record from a document in memory. A record that is no document of its own has no `R::element`: the name
/// of its element must be given then.
template <class R>
R parse(std::string document, const UnknownListener& onUnknown = {}, std::string_view element = R::element,
        std::size_t maximumElements = SIZE_MAX) {
    R record;
    readInto(&record, R::table, element, std::move(document), onUnknown, maximumElements);
    return record;
}

template <class R>
R parseFile(const std::string& path, const UnknownListener& onUnknown = {}) {
    R record;
    readFileInto(&record, R::table, R::element, path, onUnknown);
    return record;
}

template <class R>
R parseStream(std::istream& stream, const UnknownListener& onUnknown = {}) {
    return parse<R>(std::string(std::istreambuf_iterator<char>(stream), {}), onUnknown);
}

}  // namespace lmx60
