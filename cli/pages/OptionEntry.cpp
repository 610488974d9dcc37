#include "cli/pages/OptionEntry.h"

#include "cli/Options.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

namespace cli {
namespace {

OptionEntry entryOf(const CLI::Option& option) {
    OptionEntry entry{{}, takesValue(option) ? option.get_type_name() : "", option.get_description()};
    for (const std::string& name : option.get_snames())
        entry.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        entry.names.push_back("--" + name);
    if (option.get_positional()) entry.names = {option.get_name(true)};
    entry.isRepeatable = option.get_expected_max() > 1;
    return entry;
}

std::vector<OptionEntry> entriesOf(const CLI::App& parser, bool positional) {
    std::vector<OptionEntry> entries;
    for (const CLI::Option* option : parser.get_options())
        if (option->get_positional() == positional) entries.push_back(entryOf(*option));
    return entries;
}

}  // namespace

std::vector<std::string> OptionEntry::words() const {
    std::vector<std::string> words;
    if (value.find('|') != std::string::npos) boost::algorithm::split(words, value, boost::is_any_of("|"));
    return words;
}

std::vector<OptionEntry> optionsOf(const CLI::App& parser) {
    return entriesOf(parser, false);
}

std::vector<OptionEntry> positionalsOf(const CLI::App& parser) {
    return entriesOf(parser, true);
}

}  // namespace cli
