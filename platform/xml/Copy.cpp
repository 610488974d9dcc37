#include "platform/xml/Copy.h"

namespace lmx60 {

void copyFields(const void* from, const Table& fromTable, void* to, const Table& toTable) {
    std::string text;
    const Field* target = toTable.begin();
    for (const Field& field : fromTable) {
        for (std::size_t index = 0; index < field.count(from); ++index) {
            if (field.format != nullptr) {  // what is written reads back equal
                text.clear();
                field.format(from, index, text);
                target->parse(to, text);
            } else if (void* child = target->append(to)) {
                copyFields(field.at(from, index), field.childTable(), child, target->childTable());
            }
        }
        ++target;
    }
}

}  // namespace lmx60
