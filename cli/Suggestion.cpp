#include "cli/Suggestion.h"

#include "platform/base/Spelling.h"

namespace cli {
namespace {

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
    return complaint("'" + option + "' is not an option of " + words, nearestSpelling(option, candidates),
                     words);
}

}  // namespace

std::string unknownSubcommand(const std::vector<const CLI::App*>& parsers, const std::string& word) {
    std::vector<std::string> candidates;
    for (const CLI::App* subcommand : parsers.back()->get_subcommands({}))
        candidates.push_back(subcommand->get_name());
    const std::string group = wordsOf({parsers.begin() + 1, parsers.end()});
    const std::string before = group.empty() ? "" : group + " ";
    const std::string meant = nearestSpelling(word, candidates);
    return complaint("'" + before + word + "' is not a subcommand", meant.empty() ? "" : before + meant,
                     wordsOf(parsers));
}

std::string unknownSubcommand(const CLI::App& app) {
    const std::vector<const CLI::App*> parsers = parsersOf(app);
    const std::vector<std::string> refused = app.remaining();
    const bool isNone =
        parsers.back()->get_subcommands({}).empty() || refused.empty() || refused.front().starts_with('-');
    return isNone ? "" : unknownSubcommand(parsers, refused.front());
}

bool lacksSubcommand(const CLI::App& app) {
    return app.remaining().empty() && !parsersOf(app).back()->get_subcommands({}).empty();
}

std::string unknownWord(const CLI::App& app) {
    const std::vector<std::string> refused = app.remaining();
    if (!refused.empty() && refused.front().size() > 1 && refused.front().starts_with('-'))
        return unknownOption(refused.front(), parsersOf(app));
    return unknownSubcommand(app);
}

}  // namespace cli
