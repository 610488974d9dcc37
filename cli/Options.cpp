#include "cli/Options.h"

#include "platform/params/UsableCores.h"

#include <CLI/Validators.hpp>

namespace cli {
namespace {

/// The check without a description of its own beside the type's.
CLI::Option* check(CLI::Option* option, CLI::Validator validator, const std::string& type) {
    return option->check(validator.description(""))->type_name(type);
}

const CLI::App& wholeOf(const CLI::App& command) {
    const CLI::App* whole = &command;
    while (whole->get_parent() != nullptr)
        whole = whole->get_parent();
    return *whole;
}

}  // namespace

bool isQuiet(const CLI::App& command) {
    return wholeOf(command).get_option("--quiet")->count() > 0;
}

std::size_t jobs(const CLI::App& command) {
    const CLI::Option* given = wholeOf(command).get_option("--jobs");
    return given->count() > 0 ? given->as<std::size_t>() : usableCores();
}

bool takesValue(const CLI::Option& option) {
    return option.get_expected_max() > 0;
}

CLI::Option* takesOutput(CLI::Option* option, const std::string& type) {
    const auto isNamed = [](const std::string& name) -> std::string {
        return name.empty() ? "the name is empty" : "";
    };
    return check(option, CLI::Validator(isNamed, ""), type);
}

CLI::Option* takesDirectory(CLI::Option* option) {
    return check(option, CLI::ExistingDirectory, "DIR");
}

CLI::Option* takesFile(CLI::Option* option) {
    return check(option, CLI::ExistingFile, "FILE");
}

CLI::Option* takesOneOf(CLI::Option* option, const std::vector<std::string>& words) {
    return check(option, CLI::IsMember(words), CLI::detail::join(words, "|"));
}

}  // namespace cli
