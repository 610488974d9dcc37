#pragma once

#include <cstddef>

/// What a document may be at most, be it read or written, a file of its own or a member of a package: hostile
/// ones exhaust neither memory nor stack, and nothing is written that cannot be read.
namespace lmx60 {

constexpr std::size_t maximumDocument = std::size_t{256} << 20;  ///< bytes
constexpr const char* tooLarge = "the document is larger than 256 MiB";

/// A record of an element takes up to half a kilobyte.
constexpr std::size_t maximumElements = 2'000'000;
constexpr const char* tooManyElements = "the document has more than 2,000,000 elements";

constexpr std::size_t maximumDepth = 2000;
constexpr const char* tooDeep = "elements are nested deeper than 2000";

}  // namespace lmx60
