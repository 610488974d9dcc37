#include "cli/pages/ManPages.h"

#include "cli/pages/OptionEntry.h"
#include "cli/pages/Roff.h"
#include "platform/base/Exceptions.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/replace.hpp>

namespace cli {
namespace {

/// "kp-kernel-show" for the command "kernel show".
std::string pageName(const std::string& command) {
    return "kp-" + boost::algorithm::replace_all_copy(command, " ", "-");
}

std::string heading(const std::string& title) {
    return ".SH " + roffText(title) + "\n";
}

std::string beginning(const std::string& name, const std::string& summary) {
    return ".TH " + roffText(boost::algorithm::to_upper_copy(name)) + " 1 \"\" \"kp " + KP_VERSION +
           "\" \"Kernel packages\"\n" + heading("NAME") + roffText(name + " - " + summary) + "\n";
}

/// Lines are broken between the brackets of the synopsis, not inside.
std::string argumentsOf(const std::string& command, const std::string& form) {
    if (!form.starts_with(command + " "))
        throw HEXAlgException("The handbook's synopsis of '" + command + "' begins with '" + form + "'");
    std::string arguments;
    int depth = 0;
    for (const char c : form.substr(command.size() + 1)) {
        depth += c == '[' ? 1 : c == ']' ? -1 : 0;
        arguments += c == ' ' && depth > 0 ? "\\ " : roffText(std::string(1, c));
    }
    return arguments;
}

std::string synopsis(const std::string& command, const std::vector<std::string>& forms) {
    std::string roff = heading("SYNOPSIS");
    if (forms.empty()) throw HEXAlgException("The handbook has no synopsis of '" + command + "'");
    for (const std::string& form : forms)
        roff += ".SY \"" + roffText(command) + "\"\n" + argumentsOf(command, form) + "\n.YS\n";
    return roff;
}

std::string term(const OptionEntry& entry) {
    std::string names;
    for (const std::string& name : entry.names)
        names += (names.empty() ? "\\fB" : ", \\fB") + roffText(name) + "\\fR";
    return names + (entry.value.empty() || !entry.names.front().starts_with('-')
                        ? ""
                        : " \\fI" + roffText(entry.value) + "\\fR");
}

std::string options(const CLI::App& parser) {
    std::string roff = heading("OPTIONS");
    for (const auto& entries : {positionalsOf(parser), optionsOf(parser)})
        for (const OptionEntry& entry : entries)
            roff += ".TP\n" + term(entry) + "\n" + roffText(entry.help) + ".\n";
    return roff;
}

std::string exitStatus(const Command& command) {
    std::string roff = heading("EXIT STATUS");
    for (const ExitMeaning& meaning : exitMeanings(command.checks))
        roff += ".TP\n\\fB" + meaning.status + "\\fR\n" + roffText(meaning.text) + ".\n";
    return roff;
}

std::string example(const Command& command) {
    return heading("EXAMPLE") + ".EX\n" + roffText(command.example) + "\n.EE\n";
}

std::string reference(const std::string& page) {
    return "\\fB" + roffText(page) + "\\fR(1)";
}

std::string commandPage(const CommandLine::Subcommand& subcommand, const Handbook& handbook) {
    const std::string words = std::string("kp ") + subcommand.command.name;
    const Handbook::Section& section = handbook.section(words);
    return beginning(pageName(subcommand.command.name), subcommand.command.summary) +
           synopsis(words, section.synopses) + heading("DESCRIPTION") + roffFromMarkdown(section.text) +
           options(subcommand.parser) + exitStatus(subcommand.command) + example(subcommand.command) +
           heading("SEE ALSO") + reference("kp") + "\n";
}

/// The subcommands whose names begin with these words.
std::string subcommands(const CommandLine& commandLine, std::string_view words) {
    std::string roff = heading("SUBCOMMANDS");
    for (const auto& [command, parser] : commandLine.subcommands())
        if (std::string_view(command.name).starts_with(words))
            roff += ".TP\n" + reference(pageName(command.name)) + "\n" + roffText(command.summary) + ".\n";
    return roff;
}

/// The page of a word that stands before others, such as "kernel".
std::string groupPage(const CommandLine& commandLine, const CLI::App& group) {
    const std::string& word = group.get_name();
    return beginning(pageName(word), group.get_description()) +
           synopsis("kp " + word, {"kp " + word + " SUBCOMMAND ..."}) + subcommands(commandLine, word + " ") +
           heading("SEE ALSO") + reference("kp") + "\n";
}

std::string mainPage(const CommandLine& commandLine, const Handbook& handbook) {
    std::string roff = beginning("kp", commandLine.parser().get_description()) +
                       synopsis("kp", handbook.introduction().synopses) + heading("DESCRIPTION") +
                       roffFromMarkdown(handbook.introduction().text) + subcommands(commandLine, "") +
                       options(commandLine.parser());
    for (const Handbook::Section& section : handbook.sections())
        if (!section.title.starts_with("kp "))
            roff += heading(boost::algorithm::to_upper_copy(section.title)) + roffFromMarkdown(section.text);
    return roff;
}

}  // namespace

std::map<std::string, std::string> manPages(const CommandLine& commandLine, const Handbook& handbook) {
    std::map<std::string, std::string> pages{{"kp.1", mainPage(commandLine, handbook)}};
    for (const CommandLine::Subcommand& subcommand : commandLine.subcommands())
        pages[pageName(subcommand.command.name) + ".1"] = commandPage(subcommand, handbook);
    for (const CLI::App* parser : commandLine.parser().get_subcommands({}))
        if (!parser->get_subcommands({}).empty())
            pages[pageName(parser->get_name()) + ".1"] = groupPage(commandLine, *parser);
    return pages;
}

}  // namespace cli
