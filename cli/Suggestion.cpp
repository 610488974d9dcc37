#include "cli/Suggestion.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string_view>
#include <vector>

namespace cli {
namespace {

/// How many characters to insert, drop, replace or swap with their neighbour to make one word of the other.
std::size_t editDistance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> beforeLast(to.size() + 1), last(to.size() + 1), row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
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

/// The subcommand that differs least from the word; none when all differ in more than a third of it.
const CLI::App* nearest(const std::string& word, const std::vector<const CLI::App*>& subcommands) {
    const CLI::App* nearest = nullptr;
    std::size_t tolerated = std::max<std::size_t>(1, word.size() / 3);
    for (const CLI::App* subcommand : subcommands) {
        const std::size_t distance = editDistance(word, subcommand->get_name());
        if (distance > tolerated || (nearest != nullptr && distance == tolerated)) continue;
        nearest = subcommand;
        tolerated = distance;
    }
    return nearest;
}

}  // namespace

std::string unknownSubcommand(const CLI::App& app) {
    const CLI::App* parser = &app;
    std::string group;
    while (!parser->get_subcommands().empty()) {
        parser = parser->get_subcommands().front();
        group += parser->get_name() + " ";
    }
    const auto subcommands = parser->get_subcommands({});
    const std::vector<std::string> refused = app.remaining(true);
    if (subcommands.empty() || refused.empty() || refused.front().starts_with('-')) return {};

    const std::string& word = refused.front();
    const CLI::App* meant = nearest(word, subcommands);
    return "'" + group + word + "' is not a subcommand; " +
           (meant != nullptr ? "did you mean '" + group + meant->get_name() + "'?"
                             : "see kp " + group + "--help");
}

}  // namespace cli
