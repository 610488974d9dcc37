#include "cli/Command.h"
#include "cli/Output.h"
#include "containers/compare/Comparison.h"
#include "containers/kernel/NumberText.h"
#include "containers/kp/PackageVerification.h"
#include "platform/files/HUTPathUtils.h"

#include <charconv>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace cli {
namespace {

using kfab::compare::Comparison;
using kfab::compare::Difference;
using kfab::compare::Kind;
using kfab::compare::Verdict;
using nlohmann::ordered_json;

struct Options {
    std::string oldPackage, newPackage, kernel;
    bool json = false, breaking = false;
};

ordered_json numberIn(const std::string& text) {
    if (const auto whole = kfab::kernel::numberOf(text)) return *whole;
    double number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

ordered_json valueOf(const Difference& difference, const std::optional<std::string>& text) {
    if (!text) return nullptr;
    return difference.isNumber ? numberIn(*text) : ordered_json(jsonText(*text));
}

void printJson(const Comparison& comparison, Verdict verdict) {
    auto differences = ordered_json::array();
    for (const Difference& difference : comparison.differences) {
        differences.push_back({{"kernel", jsonText(difference.kernel)},
                               {"kind", textOf(difference.kind)},
                               {"change", textOf(difference.change)},
                               {"path", difference.path},
                               {"field", difference.field},
                               {"old", valueOf(difference, difference.oldText)},
                               {"new", valueOf(difference, difference.newText)}});
        if (difference.percent) differences.back()["percent"] = *difference.percent;
    }
    auto notes = ordered_json::array();
    for (const std::string& note : comparison.notes)
        notes.push_back(jsonText(note));
    print({{"verdict", textOf(verdict)},
           {"oldDigest", PackageVerification::digestText(comparison.oldDigest)},
           {"newDigest", PackageVerification::digestText(comparison.newDigest)},
           {"differences", std::move(differences)},
           {"notes", std::move(notes)}});
}

void printLines(const Comparison& comparison, Verdict verdict) {
    for (const Difference& difference : comparison.differences)
        std::cout << lineOf(difference) << '\n';
    for (const std::string& note : comparison.notes)
        std::cout << "note: " << HUTPathUtils::shown(note) << '\n';
    std::cout << "verdict: " << textOf(verdict) << '\n';
}

ExitStatus diff(const Options& options) {
    const auto kernel = options.kernel.empty() ? std::nullopt : std::optional(options.kernel);
    Comparison comparison = kfab::compare::comparePackages(options.oldPackage, options.newPackage, kernel);
    const Verdict verdict = comparison.verdict();  // of all that differs, whatever is told
    if (options.breaking)
        std::erase_if(comparison.differences,
                      [](const Difference& difference) { return difference.kind != Kind::Breaking; });
    options.json ? printJson(comparison, verdict) : printLines(comparison, verdict);
    return comparison.differences.empty() ? Done : Found;
}

}  // namespace

Run declareDiff(CLI::App& app) {
    auto options = std::make_shared<Options>();
    app.add_option("OLD", options->oldPackage, "The package that is in use")->type_name("FILE")->required();
    app.add_option("NEW", options->newPackage, "The one that is to take its place")
        ->type_name("FILE")
        ->required();
    app.add_option("KERNEL", options->kernel, "Name of a kernel of both; all and the packages unless given")
        ->type_name("NAME");
    app.add_flag("--breaking", options->breaking, "Only what breaks is told and counts");
    app.add_flag("--json", options->json, "As a JSON object");
    return [options] { return diff(*options); };
}

}  // namespace cli
