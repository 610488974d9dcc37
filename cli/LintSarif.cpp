#include "cli/LintOutput.h"
#include "cli/Output.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <unordered_map>

#include <nlohmann/json.hpp>

namespace cli {
namespace {

using kfab::lint::Finding;
using kfab::lint::Outcome;
using kfab::lint::Rule;
using kfab::lint::Unchecked;
using nlohmann::ordered_json;

/// A path as a reference that any name survives: all bytes but those that mean nothing in one are escaped.
std::string uriOf(const std::string& path) {
    std::string uri = path.starts_with('/') ? "file://" : "";
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isPlain = byte < 0x80 && (std::isalnum(byte) != 0 ||
                                             std::string_view("/-._~").find(c) != std::string_view::npos);
        char escaped[4];
        (void)std::snprintf(escaped, sizeof escaped, "%%%02X", byte);
        uri += isPlain ? std::string(1, c) : escaped;
    }
    return uri;
}

ordered_json message(const std::string& text) {
    return {{"text", jsonText(text)}};
}

ordered_json describe(const Rule& rule) {
    return {{"id", rule.code},
            {"shortDescription", message(rule.meaning)},
            {"fullDescription", message(rule.explanation)},
            {"help", message(rule.cure)},
            {"defaultConfiguration", {{"level", severityText(rule.severity)}}}};
}

std::size_t indexOf(const std::string& code) {
    const auto rules = kfab::lint::rules();
    return static_cast<std::size_t>(
        std::find_if(rules.begin(), rules.end(), [&](const Rule& rule) { return rule.code == code; }) -
        rules.begin());
}

ordered_json kernelOf(const std::string& name) {
    return ordered_json::array({{{"name", jsonText(name)}, {"kind", "module"}}});
}

/// The files that findings are in; members of a package behind the package.
class Artifacts {
public:
    explicit Artifacts(const std::string& package) : hasPackage_(!package.empty()) {
        if (hasPackage_) all_.push_back({{"location", {{"uri", uriOf(package)}}}});
    }

    ordered_json placeOf(const std::string& document) {
        const auto [known, isNew] = indices_.emplace(document, all_.size());
        ordered_json place{{"uri", uriOf(document)}, {"index", known->second}};
        if (!isNew) return place;
        all_.push_back({{"location", {{"uri", uriOf(document)}}}});
        if (hasPackage_) all_.back()["parentIndex"] = 0;
        return place;
    }

    ordered_json take() { return std::move(all_); }

private:
    ordered_json all_ = ordered_json::array();
    bool hasPackage_;
    std::unordered_map<std::string, std::size_t> indices_;
};

ordered_json describe(const Finding& finding, Artifacts& artifacts) {
    ordered_json place{{"artifactLocation", artifacts.placeOf(finding.document)}};
    if (finding.line > 0) place["region"] = {{"startLine", finding.line}};
    auto locations = ordered_json::array();
    locations.push_back(
        {{"physicalLocation", std::move(place)}, {"logicalLocations", kernelOf(finding.kernel)}});
    return {{"ruleId", finding.rule->code},
            {"ruleIndex", indexOf(finding.rule->code)},
            {"level", severityText(finding.rule->severity)},
            {"message", message(finding.text)},
            {"locations", std::move(locations)}};
}

ordered_json describe(const Unchecked& unchecked) {
    auto locations = ordered_json::array();
    locations.push_back({{"logicalLocations", kernelOf(unchecked.kernel)}});
    return {{"level", "note"},
            {"message", message("unchecked: " + unchecked.reason)},
            {"associatedRule", {{"id", unchecked.code}, {"index", indexOf(unchecked.code)}}},
            {"locations", std::move(locations)}};
}

}  // namespace

void printLintSarif(const Outcome& outcome, const std::string& package) {
    auto rules = ordered_json::array(), results = ordered_json::array(), notes = ordered_json::array();
    for (const Rule& rule : kfab::lint::rules())
        rules.push_back(describe(rule));
    Artifacts artifacts(package);
    for (const Finding& finding : outcome.findings)
        results.push_back(describe(finding, artifacts));
    for (const Unchecked& unchecked : outcome.unchecked)
        notes.push_back(describe(unchecked));
    const ordered_json driver{{"name", "kp lint"}, {"version", KP_VERSION}, {"rules", std::move(rules)}};
    ordered_json invocation{{"executionSuccessful", true}, {"toolExecutionNotifications", std::move(notes)}};
    ordered_json run{{"tool", {{"driver", driver}}},
                     {"invocations", ordered_json::array({std::move(invocation)})},
                     {"artifacts", artifacts.take()},
                     {"results", std::move(results)}};
    print({{"$schema",
            "https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/sarif-schema-2.1.0.json"},
           {"version", "2.1.0"},
           {"runs", ordered_json::array({std::move(run)})}});
}

}  // namespace cli
