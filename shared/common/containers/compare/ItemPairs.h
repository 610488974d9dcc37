#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kfab::compare {

/// An item of a list and the item of another list that stands for the same thing, by their indexes. One of
/// them may be missing.
struct ItemPair {
    std::optional<std::size_t> before, now;
    bool isMoved = false;
};

/// Pairs items by their keys; of items of one key the first with the first, and so on. All items are among
/// the pairs: those of the old list in its order, then those that only the new one has.
std::vector<ItemPair> pairByKeys(const std::vector<std::string>& before, const std::vector<std::string>& now);

/// Pairs those that have no other item yet by keys of another kind; an empty key pairs with none.
void pairTheRest(std::vector<ItemPair>& pairs, const std::vector<std::string>& before,
                 const std::vector<std::string>& now);

/// Where the items of two lists stand, and what they are called.
struct ItemPlaces {
    std::vector<std::size_t> before, now;
    std::vector<std::string> oldNames, newNames;
};

/// Marks the fewest pairs as moved that leave the others in one order; the same ones whichever list is the
/// old one.
void markMoved(std::vector<ItemPair>& pairs, const ItemPlaces& places);

}  // namespace kfab::compare
