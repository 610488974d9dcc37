#include "containers/lint/Findings.h"

#include "platform/base/Spelling.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kfab::lint {

void Findings::begin(const Rule& rule) {
    rule_ = &rule;
    suggestions_ = 0;
}

void Findings::addIn(const std::string& document, int line, std::string text) {
    outcome_.findings.push_back({rule_, kernel_.kernel, document, line, std::move(text)});
}

std::string Findings::suggestion(const std::string& word, const std::vector<std::string>& candidates) {
    constexpr int mostSuggestions = 100;
    constexpr std::size_t mostCandidates = 10'000;
    if (candidates.size() > mostCandidates || suggestions_++ >= mostSuggestions) return {};
    const std::string meant = nearestSpelling(word, candidates);
    return meant.empty() ? "" : "; did you mean " + quote(meant) + "?";
}

void Findings::uncheck(std::string reason) {
    const auto first = outcome_.unchecked.begin() + static_cast<std::ptrdiff_t>(firstUnchecked_);
    const bool isTold = std::any_of(first, outcome_.unchecked.end(), [&](const Unchecked& told) {
        return told.code == rule_->code && told.reason == reason;
    });
    if (!isTold) outcome_.unchecked.push_back({rule_->code, kernel_.kernel, std::move(reason)});
}

std::string named(const PortFacts& port) {
    return "port " + quote(port.name);
}

std::string named(const ArgFacts& arg) {
    return "argument " + quote(arg.name);
}

}  // namespace kfab::lint
