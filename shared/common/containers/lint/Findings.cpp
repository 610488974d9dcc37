#include "containers/lint/Findings.h"

#include "platform/base/Spelling.h"

#include <utility>

namespace kfab::lint {

void Findings::begin(const Rule& rule) {
    rule_ = &rule;
    suggestions_ = 0;
    told_.clear();
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
    if (told_.insert(reason).second)
        outcome_.unchecked.push_back({rule_->code, kernel_.kernel, std::move(reason)});
}

std::string named(const PortFacts& port) {
    return "port " + quote(port.name);
}

std::string named(const ArgFacts& arg) {
    return "argument " + quote(arg.name);
}

}  // namespace kfab::lint
