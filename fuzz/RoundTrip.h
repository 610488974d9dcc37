#pragma once

#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"

#include "fuzz/Fuzz.h"

namespace fuzz {

/// A document that is accepted is written, and what is written reads back equal. Returns the record.
template <class R>
R roundTrip(std::string_view document, const lmx60::UnknownListener& onUnknown = {}) {
    R record;
    if (!succeeds<lmx60::ReadError>([&] { record = lmx60::parse<R>(std::string(document), onUnknown); }))
        return record;
    const std::string written = lmx60::toString(record);
    const R again = lmx60::parse<R>(written);
    require(again == record, "what is written reads back equal");
    require(lmx60::toString(again) == written, "what is read again is written the same");
    return record;
}

}  // namespace fuzz
