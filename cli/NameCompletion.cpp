#include "cli/NameCompletion.h"

#include "cli/MessageFilter.h"
#include "cli/Options.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "platform/base/HI18N.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <vector>

namespace cli {
namespace {

using Names = std::vector<std::string>;

const CLI::App* subcommandOf(const CLI::App& parser, const std::string& word) {
    const auto found =
        parser.get_subcommands([&](const CLI::App* below) { return below->get_name() == word; });
    return found.empty() ? nullptr : found.front();
}

/// As the shell, which hands words over as they were typed, would have it.
std::string withHome(const std::string& path) {
    const char* home = std::getenv("HOME");
    return path.starts_with("~/") && home != nullptr ? home + path.substr(1) : path;
}

// What may follow the first positionals of a line.

Names kernels(const CLI::App&, const Names& before) {
    Names names;
    if (before.empty()) return names;
    for (const KPContainer::Kernel& kernel :
         HKPContainerXMLReader::readManifest(withHome(before.front())).Kernels.Kernel)
        names.push_back(HI18N::convert(kernel.Name.get()));
    return names;
}

Names members(const CLI::App&, const Names& before) {
    Names names;
    if (before.empty()) return names;
    const auto package = ArchiveSnapshot::open(withHome(before.front()));
    for (const ArchiveEntry& entry : package->entries())
        if (!entry.isDirectory()) names.emplace_back(entry.name);
    return names;
}

Names subcommands(const CLI::App& app, const Names& before) {
    const CLI::App* parser = &app;
    for (const std::string& word : before)
        if (parser != nullptr) parser = subcommandOf(*parser, word);
    Names names;
    if (parser != nullptr)
        for (const CLI::App* below : parser->get_subcommands({}))
            names.push_back(below->get_name());
    return names;
}

/// What completes a positional of a name.
constexpr struct {
    const char* positional;
    Names (*names)(const CLI::App& app, const Names& before);
} kinds[] = {{"KERNEL", kernels}, {"MEMBER", members}, {"SUBCOMMAND", subcommands}};

/// Whether the next word is the value of this one.
bool takesNext(const CLI::App* parser, const std::string& word) {
    for (; parser != nullptr; parser = parser->get_parent())
        if (const CLI::Option* option = parser->get_option_no_throw(word)) return takesValue(*option);
    return false;
}

/// What the words of a line say up to the one that is completed.
struct Line {
    const CLI::App* parser;
    Names positionals;
    bool endsInOption = false;  ///< whose value is to come
    bool areOptionsOver = false;
};

Line read(const CLI::App& app, std::span<const std::string> words) {
    Line line{&app, {}};
    for (const std::string& word : words) {
        const bool isOption = !line.areOptionsOver && word.size() > 1 && word.starts_with('-');
        const CLI::App* below = line.positionals.empty() ? subcommandOf(*line.parser, word) : nullptr;
        if (line.endsInOption) {
            line.endsInOption = false;
        } else if (isOption) {
            line.areOptionsOver = word == "--";
            line.endsInOption = takesNext(line.parser, word);
        } else if (below != nullptr) {
            line.parser = below;
        } else {
            line.positionals.push_back(word);
        }
    }
    return line;
}

/// The name of the positional that comes next; empty when none does.
std::string nextPositional(const Line& line) {
    const auto positionals =
        line.parser->get_options([](const CLI::Option* option) { return option->get_positional(); });
    if (line.endsInOption || positionals.empty()) return {};
    const bool isRepeated = positionals.back()->get_expected_max() > 1;
    const std::size_t last = positionals.size() - 1;
    const std::size_t next = isRepeated ? std::min(line.positionals.size(), last) : line.positionals.size();
    return next <= last ? positionals[next]->get_name(true) : "";
}

}  // namespace

ExitStatus completeName(const CLI::App& app, std::span<const std::string> words) {
    if (words.empty()) return Found;
    const MessageFilter silence([](const ComMsg&, const ComMsgMgr::Sink&) {});
    const std::string& begun = words.back();
    const Line line = read(app, words.first(words.size() - 1));
    const std::string positional = nextPositional(line);
    const auto* kind = std::find_if(std::begin(kinds), std::end(kinds),
                                    [&](const auto& known) { return known.positional == positional; });
    if (kind == std::end(kinds)) return Found;
    try {
        for (const std::string& name : kind->names(app, line.positionals))
            if (name.starts_with(begun) && (line.areOptionsOver || !name.starts_with('-')) &&
                HUTPathUtils::shown(name) == name)
                std::cout << name << '\n';
    } catch (const std::exception&) {
        // Somebody types: whoever runs the command is told.
    }
    return Done;
}

}  // namespace cli
