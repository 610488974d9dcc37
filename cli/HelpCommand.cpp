#include "cli/Command.h"
#include "cli/CommandLine.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace cli {

Run declareHelp(CLI::App& app) {
    auto words = std::make_shared<std::vector<std::string>>();
    app.add_option("SUBCOMMAND", *words, "The subcommand; all of them unless given")->type_name("NAME");
    return [words, &whole = *app.get_parent()] {
        // As "kp kernel show --help" would be; the parser takes the last argument first.
        std::vector<std::string> arguments = {"--help"};
        arguments.insert(arguments.end(), words->rbegin(), words->rend());
        try {
            whole.parse(arguments);
            return Done;
        } catch (const CLI::ParseError& ended) {
            return answer(whole, ended);
        }
    };
}

}  // namespace cli
