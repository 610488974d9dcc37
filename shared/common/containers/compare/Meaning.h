#pragma once

#include "containers/compare/Comparison.h"
#include "platform/xml/Table.h"

#include <array>
#include <string>
#include <string_view>

namespace kfab::compare {

/// What a field held before and holds now. Of fields that hold records, and of sets, an item that was added
/// or removed.
struct Step {
    Change change = Change::Changed;
    std::string before, now;       ///< the default where there is none
    const void* record = nullptr;  ///< the item, if it is a record
};

/// What tells whether two texts are the same one in another spelling.
enum class Reading {
    Text,
    Word,    ///< in any case of letters
    Number,  ///< as a description has them
    Figure,  ///< of a report, with its unit
};

/// What a difference in a field of the manifest or of a kernel's description means. Every field has one, but
/// for most of a report.
struct Meaning {
    const lmx60::Table* record;
    std::string_view field;
    /// None for a field that only holds others.
    Kind (*judge)(const Step& step);
    Reading reading = Reading::Text;

    /// Of records: what one of them is called, and the fields that it is found again by; first by those of
    /// `keys`, then by `otherKey`. Records without keys go by their place. A leaf with a noun is one of a
    /// set.
    std::string_view noun = {};
    std::array<std::string_view, 4> keys = {};
    std::string_view otherKey = {};
    bool isOrdered = false;  ///< whether their order means something; `otherKey` then counts their places
    std::string (*shown)(const std::string& text) = nullptr;  ///< what a leaf is called elsewhere
};

/// The row of a field; none for one that has none.
const Meaning* meaningOf(const lmx60::Field& field);

}  // namespace kfab::compare
