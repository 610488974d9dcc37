#include "containers/compare/ItemPairs.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace kfab::compare {
namespace {

/// The items of each key that are still to be found, the next one last.
class Waiting {
public:
    void add(const std::string& key, std::size_t item) { items_[key].push_back(item); }

    std::optional<std::size_t> take(const std::string& key) {
        const auto found = items_.find(key);
        if (found == items_.end() || found->second.empty()) return {};
        const std::size_t item = found->second.back();
        found->second.pop_back();
        return item;
    }

private:
    std::unordered_map<std::string, std::vector<std::size_t>> items_;
};

/// Of each index whether it belongs to the longest run of ascending numbers.
std::vector<bool> longestAscent(const std::vector<std::size_t>& numbers) {
    constexpr std::size_t none = static_cast<std::size_t>(-1);
    std::vector<std::size_t> lastOf;  // of the ascents of each length the one with the lowest last number
    std::vector<std::size_t> previous(numbers.size(), none);
    for (std::size_t at = 0; at < numbers.size(); ++at) {
        const auto place = std::partition_point(
            lastOf.begin(), lastOf.end(), [&](std::size_t last) { return numbers[last] < numbers[at]; });
        if (place != lastOf.begin()) previous[at] = *(place - 1);
        if (place == lastOf.end())
            lastOf.push_back(at);
        else
            *place = at;
    }
    std::vector<bool> belongs(numbers.size());
    for (std::size_t at = lastOf.empty() ? none : lastOf.back(); at != none; at = previous[at])
        belongs[at] = true;
    return belongs;
}

/// An item that both lists have.
struct Placed {
    std::size_t before, now;
    std::string_view name;  ///< the same whichever list is the old one
    std::size_t pair;       ///< its index
};

/// Of the items in their old order those that are no part of the longest run that stays in order; by name.
std::vector<Placed> movedAmong(std::vector<Placed> items) {
    std::sort(items.begin(), items.end(),
              [](const Placed& a, const Placed& b) { return a.before < b.before; });
    std::vector<std::size_t> places;
    places.reserve(items.size());
    for (const Placed& item : items)
        places.push_back(item.now);
    const std::vector<bool> stays = longestAscent(places);
    std::vector<Placed> moved;
    for (std::size_t at = 0; at < items.size(); ++at)
        if (!stays[at]) moved.push_back(items[at]);
    std::sort(moved.begin(), moved.end(), [](const Placed& a, const Placed& b) { return a.name < b.name; });
    return moved;
}

}  // namespace

std::vector<ItemPair> pairByKeys(const std::vector<std::string>& before,
                                 const std::vector<std::string>& now) {
    Waiting waiting;
    for (std::size_t item = now.size(); item-- > 0;)
        waiting.add(now[item], item);
    std::vector<ItemPair> pairs;
    std::vector<bool> isFound(now.size());
    for (std::size_t item = 0; item < before.size(); ++item) {
        const auto other = waiting.take(before[item]);
        if (other) isFound[*other] = true;
        pairs.push_back({item, other});
    }
    for (std::size_t item = 0; item < now.size(); ++item)
        if (!isFound[item]) pairs.push_back({{}, item});
    return pairs;
}

void pairTheRest(std::vector<ItemPair>& pairs, const std::vector<std::string>& before,
                 const std::vector<std::string>& now) {
    Waiting waiting;
    for (std::size_t at = pairs.size(); at-- > 0;)
        if (!pairs[at].before && !now[*pairs[at].now].empty()) waiting.add(now[*pairs[at].now], at);
    for (ItemPair& pair : pairs) {
        if (pair.now) continue;
        const auto other = waiting.take(before[*pair.before]);
        if (!other) continue;
        pair.now = pairs[*other].now;
        pairs[*other].now.reset();
    }
    std::erase_if(pairs, [](const ItemPair& pair) { return !pair.before && !pair.now; });
}

void markMoved(std::vector<ItemPair>& pairs, const ItemPlaces& places) {
    std::vector<Placed> forward, backward;
    for (std::size_t at = 0; at < pairs.size(); ++at) {
        if (!pairs[at].before || !pairs[at].now) continue;
        const std::size_t before = *pairs[at].before, now = *pairs[at].now;
        const std::string_view name = std::min(places.oldNames[before], places.newNames[now]);
        forward.push_back({places.before[before], places.now[now], name, at});
        backward.push_back({places.now[now], places.before[before], name, at});
    }
    forward = movedAmong(std::move(forward));
    backward = movedAmong(std::move(backward));
    const bool isForward =
        std::lexicographical_compare(forward.begin(), forward.end(), backward.begin(), backward.end(),
                                     [](const Placed& a, const Placed& b) { return a.name < b.name; });
    for (const Placed& item : isForward ? forward : backward)
        pairs[item.pair].isMoved = true;
}

}  // namespace kfab::compare
