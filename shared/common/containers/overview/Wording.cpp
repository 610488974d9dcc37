#include "containers/overview/Wording.h"

#include "containers/kernel/NumberText.h"
#include "containers/kp/PackageLayout.h"
#include "platform/files/DisplayText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numeric>

namespace kfab::overview {
namespace {

using display::displayed;

/// With so many digits at most, whatever the locale.
std::string decimal(double number, std::chars_format format, int digits) {
    std::array<char, 64> text{};
    return {text.data(), std::to_chars(text.begin(), text.end(), number, format, digits).ptr};
}

}  // namespace

std::string versionText(std::uint64_t major, std::uint64_t minor) {
    return std::to_string(major) + "." + std::to_string(minor);
}

std::string sizeText(std::uint64_t bytes) {
    constexpr std::array units = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    constexpr double step = 1024;
    if (bytes < 1024) return std::to_string(bytes) + " B";
    auto size = static_cast<double>(bytes) / step;
    std::size_t unit = 0;
    for (; size >= step - 0.05; ++unit)  // 64 bits end at 16 EiB
        size /= step;
    std::string number = decimal(size, std::chars_format::fixed, 1);
    if (number.ends_with(".0")) number.resize(number.size() - 2);
    return number + " " + units.at(unit);
}

std::string decimalText(double number) {
    return decimal(number, std::chars_format::general, 6);
}

std::string countText(std::uint64_t count, std::string_view noun) {
    return std::to_string(count).append(" ").append(noun).append(count == 1 ? "" : "s");
}

std::string percentText(double share) {
    return std::to_string(std::lround(share * 100)) + "%";
}

std::string timeText(std::time_t time, const char* format) {
    std::tm utc{};
    ::gmtime_r(&time, &utc);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &utc)};
}

std::string plainText(const NumberText& number) {
    return number.value ? std::to_string(*number.value) : displayed(number.text);
}

std::string sizeText(const NumberText& number) {
    return number.value ? sizeText(*number.value) : displayed(number.text);
}

std::string addressText(const NumberText& number) {
    return number.value ? kernel::hexadecimal(*number.value) : displayed(number.text);
}

std::string listText(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : ", ") + displayed(text);
    return all;
}

std::string sizeText(const Package& package) {
    return sizeText(package.size) + ", " + countText(package.fileCount, "file") + " of " +
           sizeText(package.contentSize);
}

std::string formatText(const Package& package) {
    return versionText(package.formatMajor, package.formatMinor) + ", layout " +
           layout::name(layout::hasRepository(package.formatMajor));
}

std::string writtenText(const Package& package) {
    const bool isKnown = package.softwareMajor > 0 || package.softwareMinor > 0;
    return timeText(package.written, "%Y-%m-%d %H:%M UTC") +
           (isKnown ? " by software " + versionText(package.softwareMajor, package.softwareMinor)
                    : ", it does not say by what");
}

Statement digestStatement(const Package& package) {
    switch (package.digest) {
        case DigestVerdict::Valid:
            return {"valid", Tone::Good};
        case DigestVerdict::Missing:
            return {"missing: the package was never sealed", Tone::Doubtful};
        case DigestVerdict::Mismatch:
            return {"MISMATCH: the package was changed since it was sealed", Tone::Bad};
        case DigestVerdict::Unreadable:
            break;
    }
    return {"unreadable", Tone::Bad};
}

std::string flowsText(const Kernel& kernel) {
    std::string flows;
    if (kernel.entry)
        for (const std::string& flow : kernel.entry->flows)
            flows += (flows.empty() ? "" : ",") + flow;
    return flows.empty() ? "-" : flows;
}

std::string controlText(const Kernel& kernel) {
    std::string text = kernel.protocol.empty() ? "protocol not stated" : displayed(kernel.protocol);
    if (kernel.interrupt == "true") return text + ", interrupt";
    if (kernel.interrupt == "false") return text + ", no interrupt";
    return kernel.interrupt.empty() ? text : text + ", interrupt '" + displayed(kernel.interrupt) + "'";
}

const char* passingText(Passing passing) {
    switch (passing) {
        case Passing::Value:
            return "value";
        case Passing::Pointer:
            return "pointer";
        case Passing::Stream:
            return "stream";
        case Passing::Unknown:
            break;
    }
    return "?";
}

const char* useText(Stretch::Use use) {
    switch (use) {
        case Stretch::Use::Control:
            return "control";
        case Stretch::Use::Value:
            return "value";
        case Stretch::Use::Pointer:
            return "address";
        case Stretch::Use::Gap:
            break;
    }
    return "free";
}

std::string wrongText(const Stretch& stretch) {
    std::string text = stretch.shared > 0 ? "OVERLAPS " + sizeText(stretch.shared) : "";
    if (stretch.isBeyond) text += std::string(text.empty() ? "" : ", ") + "BEYOND RANGE";
    return text;
}

std::string filesText(const std::vector<File>& files) {
    const std::uint64_t size =
        std::accumulate(files.begin(), files.end(), std::uint64_t{0},
                        [](std::uint64_t sum, const File& file) { return sum + file.size; });
    return std::to_string(files.size()) + " of " + sizeText(size);
}

Statement findingsStatement(const Kernel& kernel) {
    using lint::Severity;
    if (!kernel.problem.empty()) return {"UNREADABLE", Tone::Bad};
    const lint::Outcome& outcome = kernel.findings;
    const auto errors = static_cast<std::uint64_t>(std::count_if(
        outcome.findings.begin(), outcome.findings.end(),
        [](const lint::Finding& finding) { return finding.rule->severity == Severity::Error; }));
    if (errors > 0) return {countText(errors, "error"), Tone::Bad};
    if (!outcome.findings.empty()) return {countText(outcome.findings.size(), "warning"), Tone::Doubtful};
    if (!outcome.unchecked.empty()) return {std::to_string(outcome.unchecked.size()) + " unchecked"};
    return {"clean", Tone::Good};
}

}  // namespace kfab::overview
