#include "containers/lint/Findings.h"

#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <utility>

namespace kfab::lint {

void Findings::addIn(const std::string& document, int line, std::string text) {
    outcome_.findings.push_back({rule_, kernel_.kernel, document, line, std::move(text)});
}

void Findings::uncheck(std::string reason) {
    const auto first = outcome_.unchecked.begin() + static_cast<std::ptrdiff_t>(firstUnchecked_);
    const bool isTold = std::any_of(first, outcome_.unchecked.end(), [&](const Unchecked& told) {
        return told.code == rule_->code && told.reason == reason;
    });
    if (!isTold) outcome_.unchecked.push_back({rule_->code, kernel_.kernel, std::move(reason)});
}

std::string quote(std::string_view text) {
    constexpr std::size_t longest = 100;
    return "'" + HUTPathUtils::shown(text.substr(0, longest)) + (text.size() > longest ? "...'" : "'");
}

std::string hexadecimal(std::uint64_t number) {
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    std::string text = "0x";
    for (const char* digit = digits.data(); digit != end; ++digit)
        text += *digit >= 'a' ? static_cast<char>(*digit - 'a' + 'A') : *digit;
    return text;
}

std::string named(const PortFacts& port) {
    return "port " + quote(port.name);
}

std::string named(const ArgFacts& arg) {
    return "argument " + quote(arg.name);
}

}  // namespace kfab::lint
