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

/// The candidate that differs least from the word; none when all differ in more than a third of it.
std::string nearest(const std::string& word, const std::vector<std::string>& candidates) {
    std::string nearest;
    std::size_t tolerated = std::max<std::size_t>(1, word.size() / 3);
    for (const std::string& candidate : candidates) {
        const std::size_t distance = editDistance(word, candidate);
        if (distance > tolerated || (!nearest.empty() && distance == tolerated)) continue;
        nearest = candidate;
        tolerated = distance;
    }
    return nearest;
}

/// The parsers that read the arguments: the whole command line's, and of the subcommands that it met.
std::vector<const CLI::App*> parsersOf(const CLI::App& app) {
    std::vector<const CLI::App*> parsers{&app};
    while (!parsers.back()->get_subcommands().empty())
        parsers.push_back(parsers.back()->get_subcommands().front());
    return parsers;
}

std::string wordsOf(const std::vector<const CLI::App*>& parsers) {
    std::string words;
    for (const CLI::App* parser : parsers)
        words += (words.empty() ? "" : " ") + parser->get_name();
    return words;
}

std::string complaint(const std::string& what, const std::string& meant, const std::string& parser) {
    return what + "; " + (meant.empty() ? "see " + parser + " --help" : "did you mean '" + meant + "'?");
}

std::string unknownOption(const std::string& argument, const std::vector<const CLI::App*>& parsers) {
    const std::string option = argument.substr(0, argument.find('='));
    std::vector<std::string> candidates;
    for (const CLI::App* parser : parsers)
        for (const CLI::Option* known : parser->get_options())
            for (const std::string& name : known->get_lnames())
                candidates.push_back("--" + name);
    const std::string words = wordsOf(parsers);
    return complaint("'" + option + "' is not an option of " + words, nearest(option, candidates), words);
}

}  // namespace

std::string unknownSubcommand(const CLI::App& app) {
    const std::vector<const CLI::App*> parsers = parsersOf(app);
    const auto subcommands = parsers.back()->get_subcommands({});
    const std::vector<std::string> refused = app.remaining(true);
    if (subcommands.empty() || refused.empty() || refused.front().starts_with('-')) return {};

    std::vector<std::string> candidates;
    candidates.reserve(subcommands.size());
    for (const CLI::App* subcommand : subcommands)
        candidates.push_back(subcommand->get_name());
    const std::string group = wordsOf({parsers.begin() + 1, parsers.end()});
    const std::string before = group.empty() ? "" : group + " ";
    const std::string meant = nearest(refused.front(), candidates);
    return complaint("'" + before + refused.front() + "' is not a subcommand",
                     meant.empty() ? "" : before + meant, wordsOf(parsers));
}

bool lacksSubcommand(const CLI::App& app) {
    return app.remaining(true).empty() && !parsersOf(app).back()->get_subcommands({}).empty();
}

std::string unknownWord(const CLI::App& app) {
    const std::vector<std::string> refused = app.remaining(true);
    if (!refused.empty() && refused.front().size() > 1 && refused.front().starts_with('-'))
        return unknownOption(refused.front(), parsersOf(app));
    return unknownSubcommand(app);
}

}  // namespace cli
