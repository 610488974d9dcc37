#pragma once

#include "platform/xml/Reader.h"

#include <cstddef>
#include <string>

/// The largest XML document that is read from inside a package; a small archive can inflate to any size.
constexpr std::size_t maximumPackageDocument = std::size_t{256} << 20;
/// How many elements it may have. A record of one takes up to half a kilobyte.
constexpr std::size_t maximumPackageElements = 2'000'000;

/// The bytes of an XML document inside a package. Throws std::ios_base::failure when it cannot be read,
/// HEXAlgException when it is larger than the maximum.
std::string readPackageDocument(const std::string& package, const std::string& member);

/// A record from such a document. Throws lmx60::ReadError.
template <class R>
R parsePackageDocument(std::string document, const lmx60::UnknownListener& onUnknown = {}) {
    return lmx60::parse<R>(std::move(document), onUnknown, R::element, maximumPackageElements);
}
