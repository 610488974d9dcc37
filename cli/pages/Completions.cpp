#include "cli/pages/Completions.h"

#include "cli/NameCompletion.h"
#include "cli/pages/OptionEntry.h"

#include <functional>

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/replace.hpp>

namespace cli {
namespace {

using Words = std::vector<std::string>;
using boost::algorithm::join;

const std::string ask = std::string("command kp ") + completionWord;

const std::string bashNames = R"sh(# Completion of the command kp in bash.

# Sets "plain" to a word without the quotes and backslashes that it was typed with.
_kp_unquote() {
    case $1 in
        \'*) plain=${1#\'} plain=${plain%\'} ;;
        \"*) plain=${1#\"} plain=${plain%\"} ;;
        *) IFS= read plain <<<"$1" ;;
    esac
}

# Completes the name of a kernel or a member of the package on the line.
_kp_names() {
    local words=() names=() word plain before="" joins=""
    for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
        _kp_unquote "$word"
        if [[ $joins || $word == [:=]* ]] && ((${#words[@]})); then  # bash takes words apart there
            before=${words[-1]}
            words[-1]+=$plain
        else
            before=""
            words+=("$plain")
        fi
        joins=""
        [[ $word == [:=]* ]] && joins=yes
    done
    [[ $joins ]] && before=${words[-1]}
    mapfile -t names < <()sh" +
                              ask + R"sh( "${words[@]}" 2>/dev/null)
    for word in "${names[@]}"; do
        word=${word#"$before"}
        case $current in  # what would end the quotes, or mean something in them, cannot be completed there
            \'*) [[ $word == *\'* ]] && continue ;;
            \"*) [[ $word == *[\"\$\`\\!]* ]] && continue ;;
            *) printf -v word %q "$word" ;;
        esac
        COMPREPLY+=("$word")
    done
}
)sh";

const std::string zshNames = R"sh(#compdef kp
# Completion of the command kp in zsh.

# Completes the name of a kernel or a member of the package on the line.
_kp_names() {
    local -a names=(${(f)"$()sh" +
                             ask + R"sh( "${(@Q)words[1,CURRENT-1]}" "" 2>/dev/null)"})
    (($#names)) && compadd -a names
}
)sh";

const std::string fishNames = R"sh(# Completion of the command kp in fish.

# The names of kernels or members of the package on the line; fails where none belongs.
function __kp_names
    set -l words (commandline -opc)
    )sh" + ask + R"sh( $words[2..-1] "" 2>/dev/null
end
complete -c kp -f -n '__kp_names >/dev/null' -a '(__kp_names)'
)sh";

/// Calls `visit` for the parser and all below it with the words that lead there, such as {"kernel", "show"}.
void walk(const CLI::App& parser, const Words& words,
          const std::function<void(const CLI::App&, const Words&)>& visit) {
    visit(parser, words);
    for (const CLI::App* below : parser.get_subcommands({})) {
        Words longer = words;
        longer.push_back(below->get_name());
        walk(*below, longer, visit);
    }
}

Words subcommandNames(const CLI::App& parser) {
    Words names;
    for (const CLI::App* below : parser.get_subcommands({}))
        names.push_back(below->get_name());
    return names;
}

/// In single quotes, as all three shells understand them.
std::string quoted(const std::string& text, const char* quote) {
    return "'" + boost::algorithm::replace_all_copy(text, "'", quote) + "'";
}

/// The case pattern of an option after its subcommand: "add --ip"|"add -i".
std::string bashPattern(const Words& command, const OptionEntry& option) {
    Words patterns;
    for (const std::string& name : option.names)
        patterns.push_back("\"" + join(command, " ") + " " + name + "\"");
    return join(patterns, "|");
}

std::string zshFunction(const Words& command) {
    return "_kp" +
           (command.empty() ? "" : "_" + boost::algorithm::replace_all_copy(join(command, "_"), "-", "_"));
}

/// What a value is and what completes it.
std::string zshValue(const OptionEntry& option) {
    const Words words = option.words();
    return ":" + option.value + ":" +
           (!words.empty()           ? "(" + join(words, " ") + ")"
            : option.value == "DIR"  ? "_files -/"
            : option.value == "NAME" ? "_kp_names"
                                     : "_files");
}

std::string zshArguments(const CLI::App& parser) {
    Words entries;
    for (const OptionEntry& option : optionsOf(parser)) {
        std::string help = option.help;
        for (const char* special : {"[", "]", ":"})
            boost::algorithm::replace_all(help, special, std::string("\\") + special);
        const std::string once = option.isRepeatable ? "*" : "(" + join(option.names, " ") + ")";
        for (const std::string& name : option.names) {
            const bool joinsValue = !option.value.empty() && name.starts_with("--");
            entries.push_back(once + name + (joinsValue ? "=[" : "[") + help + "]" +
                              (option.value.empty() ? "" : zshValue(option)));
        }
    }
    for (const OptionEntry& positional : positionalsOf(parser))
        entries.push_back((positional.isRepeatable ? "*" : "") + zshValue(positional));
    if (!subcommandNames(parser).empty())
        entries.insert(entries.end(), {"1:subcommand:->subcommand", "*::argument:->argument"});
    std::string lines;
    for (const std::string& entry : entries)
        lines += " \\\n        " + quoted(entry, "'\\''");
    return lines;
}

}  // namespace

std::string bashCompletion(const CLI::App& app) {
    std::string commands, values, candidates;
    walk(app, {}, [&](const CLI::App& parser, const Words& words) {
        const std::string command = join(words, " ");
        Words names;
        for (const OptionEntry& option : optionsOf(parser)) {
            names.insert(names.end(), option.names.begin(), option.names.end());
            if (option.value.empty()) continue;
            const std::string action = !option.words().empty()
                                           ? "candidates=\"" + join(option.words(), " ") + "\""
                                       : option.value == "DIR" ? "kind=directory"
                                                               : "kind=file";
            values += "        " + bashPattern(words, option) + ") " + action + " ;;\n";
        }
        const Words below = subcommandNames(parser);
        for (const std::string& name : below)
            commands += (commands.empty() ? "" : "|") + ("\"" + command + " " + name + "\"");
        candidates += "        \"" + command + "\") subcommands=\"" + join(below, " ") + "\" options=\"" +
                      join(names, " ") + "\" ;;\n";
    });
    return bashNames + R"(
_kp() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
    local command="" kind="" candidates="" subcommands="" options="" word
    if [[ $current == = ]]; then
        current=""
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD-2]}
    fi
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case "$command $word" in
            )" +
           commands +
           R"() command=${command:+$command }$word ;;
        esac
    done
    case "$command $previous" in
)" + values +
           R"(    esac
    case "$command" in
)" + candidates +
           R"(    esac
    if [[ -z $kind && -z $candidates ]]; then
        candidates=$subcommands
        [[ $current == -* ]] && candidates=$options
    fi
    COMPREPLY=()
    if [[ $kind == directory ]]; then
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
    elif [[ -n $candidates ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$current")
    elif [[ -z $kind ]]; then
        _kp_names
    fi
}
complete -o default -F _kp kp
)";
}

std::string zshCompletion(const CLI::App& app) {
    std::string functions;
    walk(app, {}, [&](const CLI::App& parser, const Words& words) {
        const Words below = subcommandNames(parser);
        functions += "\n" + zshFunction(words) + "() {\n";
        if (!below.empty()) functions += "    local curcontext=$curcontext state line\n";
        functions += "    _arguments -s -S" + std::string(below.empty() ? "" : " -C") + zshArguments(parser);
        if (below.empty()) {
            functions += "\n}\n";
            return;
        }
        functions += "\n    case $state in\n        subcommand)\n            local -a subcommands=(";
        for (const CLI::App* subcommand : parser.get_subcommands({}))
            functions += "\n                " +
                         quoted(subcommand->get_name() + ":" + subcommand->get_description(), "'\\''");
        functions += ")\n            _describe subcommand subcommands ;;\n        argument) " +
                     zshFunction(words) + "_${words[1]//-/_} ;;\n    esac\n}\n";
    });
    return zshNames + functions + "\n_kp \"$@\"\n";
}

std::string fishCompletion(const CLI::App& app) {
    std::string lines = fishNames;
    walk(app, {}, [&](const CLI::App& parser, const Words& words) {
        Words conditions;
        for (const std::string& word : words)
            conditions.push_back("__fish_seen_subcommand_from " + word);
        const Words below = subcommandNames(parser);
        const std::string begin =
            "complete -c kp" + (words.empty() ? "" : " -n " + quoted(join(conditions, "; and "), "\\'"));
        for (const OptionEntry& option : optionsOf(parser)) {
            lines += begin;
            for (const std::string& name : option.names)
                lines += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
            if (!option.words().empty()) {
                lines += " -x -a " + quoted(join(option.words(), " "), "\\'");
            } else if (option.value == "DIR") {
                lines += " -x -a '(__fish_complete_directories)'";
            } else if (!option.value.empty()) {
                lines += " -r";
            }
            lines += " -d " + quoted(option.help, "\\'") + "\n";
        }
        if (below.empty()) return;
        conditions.push_back("not __fish_seen_subcommand_from " + join(below, " "));
        for (const CLI::App* subcommand : parser.get_subcommands({}))
            lines += "complete -c kp -f -n " + quoted(join(conditions, "; and "), "\\'") + " -a " +
                     subcommand->get_name() + " -d " + quoted(subcommand->get_description(), "\\'") + "\n";
    });
    return lines;
}

}  // namespace cli
