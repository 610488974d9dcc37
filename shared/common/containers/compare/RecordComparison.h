#pragma once

#include "containers/compare/Comparison.h"
#include "containers/compare/ItemPairs.h"
#include "containers/compare/Meaning.h"
#include "platform/xml/Table.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kfab::compare {

/// Walks two records of one type by their tables and tells every difference between them. However deep the
/// records are nested, it needs little of the stack.
class RecordComparison {
public:
    /// @param kernel that the records belong to; empty for the package itself
    RecordComparison(std::string kernel, std::vector<Difference>& differences)
        : kernel_(std::move(kernel)), differences_(differences) {}

    template <class R>
    void compare(const R& before, const R& now) {
        compare({.before = &before, .now = &now, .table = &R::table});
    }

private:
    /// What the innermost records at hand are called; what lies deep can have many above it.
    struct Place {
        std::shared_ptr<const std::string> outer, inner;

        Place within(const std::string& name) const { return {inner, std::make_shared<std::string>(name)}; }
        std::string path() const;
    };

    /// Two records that stand for the same thing. One of them may be missing.
    struct Pair {
        const void* before;
        const void* now;
        const lmx60::Table* table;
        const Meaning* meaning = nullptr;           ///< of what holds them
        const lmx60::Field* toldByPlace = nullptr;  ///< what only says where they stand
        Place around = {};
    };

    /// The records of one field.
    struct Items {
        std::vector<const void*> records;
        const lmx60::Table& table;
    };
    static Items itemsOf(const void* record, const lmx60::Field& field);
    static std::vector<std::string> keysOf(const Items& items, const Meaning& meaning);

    void compare(const Pair& root);
    void compareFields(const Pair& pair);
    void compareValues(const Pair& pair, const lmx60::Field& field, const Meaning& meaning);
    void compareCounts(const Pair& pair, const lmx60::Field& field);
    void compareSets(const Pair& pair, const lmx60::Field& field, const Meaning& meaning);
    void pairItems(const Items& before, const Items& now, const Meaning& meaning);
    const lmx60::Field* tellMoved(std::vector<ItemPair>& pairs, const Items& before, const Items& now,
                                  const Meaning& meaning);

    void tellItem(const Place& place, Change change, Kind kind, const std::string& name);
    void tellChange(const Place& place, Kind kind, std::string_view field, std::optional<std::string> before,
                    std::optional<std::string> now, Reading reading);

    std::string kernel_;
    std::vector<Difference>& differences_;
    std::vector<Pair> pending_;  ///< the next one last
    Place place_;                ///< of the pair at hand
};

}  // namespace kfab::compare
