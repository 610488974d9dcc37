#pragma once

#include "platform/base/Export.h"
#include "platform/xml/Table.h"

namespace lmx60 {

KP_EXPORT void copyFields(const void* from, const Table& fromTable, void* to, const Table& toTable);

/// Copies all that a record holds, the records below it included, to a new one of another type whose table
/// has the same fields.
template <class From, class To>
void copyRecord(const From& from, To& to) {
    static_assert(From::element == To::element);
    copyFields(&from, From::table, &to, To::table);
}

}  // namespace lmx60
