#include "platform/base/Spelling.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string_view>

namespace {

/// How many characters to insert, drop, replace or swap with their neighbour to make one word of the other.
std::size_t editDistance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    std::vector<std::size_t> beforeLast = row, last = row;
    for (std::size_t i = 1; i <= from.size(); ++i) {
        beforeLast.swap(last);
        last.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            row[j] =
                std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row.back();
}

}  // namespace

std::string nearestSpelling(const std::string& word, const std::vector<std::string>& candidates) {
    std::string nearest;
    std::size_t tolerated = std::max<std::size_t>(1, word.size() / 3);
    for (const std::string& candidate : candidates) {
        if (candidate.size() > word.size() + tolerated) continue;  // which may be far too much to look at
        const std::size_t distance = editDistance(word, candidate);
        if (distance > tolerated || (!nearest.empty() && distance == tolerated)) continue;
        nearest = candidate;
        tolerated = distance;
    }
    return nearest;
}
