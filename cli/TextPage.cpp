#include "cli/TextPage.h"

#include "cli/DisplayText.h"
#include "cli/Terminal.h"

#include <array>
#include <cstdio>
#include <iostream>

namespace cli {
namespace {

constexpr std::size_t indent = 2;
constexpr std::size_t labelWidth = 11;

template <class... Values>
std::string formatted(const char* format, Values... values) {
    std::array<char, 64> text{};
    (void)std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

std::string leadOf(std::string_view label) {
    std::string lead = std::string(indent, ' ').append(label);
    lead.resize(indent + labelWidth, ' ');
    return lead;
}

}  // namespace

TextPage::TextPage() : out_(std::cout), style_(Style::ofOutput()), width_(outputWidth()) {}

void TextPage::title(std::string_view kind, const std::string& name) {
    if (!isFirst_) out_ << '\n';
    isFirst_ = false;
    const std::string lead = std::string(kind) + " ";
    out_ << lead
         << style_.coloured(shortened(name, width_ - displayWidth(lead), style_.ellipsis()), Colour::Strong)
         << '\n';
}

void TextPage::heading(const std::string& text) {
    out_ << '\n' << style_.coloured(shortened(text, width_, style_.ellipsis()), Colour::Strong) << '\n';
}

void TextPage::field(std::string_view label, const std::string& text, Colour colour) {
    if (!text.empty()) lines(leadOf(label), text, colour);
}

void TextPage::name(std::string_view label, const std::string& text) {
    if (text.empty()) return;
    const std::string lead = leadOf(label);
    out_ << lead << shortened(text, width_ - lead.size(), style_.ellipsis()) << '\n';
}

void TextPage::paragraph(const std::string& text, Colour colour) {
    lines(std::string(indent, ' '), text, colour);
}

void TextPage::lines(const std::string& lead, const std::string& text, Colour colour) {
    std::string before = lead;
    for (const std::string& line : wrapped(text, width_ - lead.size())) {
        out_ << before << style_.coloured(line, colour) << '\n';
        before.assign(lead.size(), ' ');
    }
}

void TextPage::table(const TextTable& table, std::size_t most) {
    table.print(out_, style_, width_, indent, most);
}

std::string sizeText(std::uint64_t bytes) {
    constexpr std::array units = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    constexpr double step = 1024;
    if (bytes < 1024) return std::to_string(bytes) + " B";
    auto size = static_cast<double>(bytes) / step;
    std::size_t unit = 0;
    for (; size >= step - 0.05 && unit + 1 < units.size(); ++unit)
        size /= step;
    std::string number = formatted("%.1f", size);
    if (number.ends_with(".0")) number.resize(number.size() - 2);
    return number + " " + units.at(unit);
}

std::string decimalText(double number) {
    return formatted("%g", number);
}

std::string countText(std::uint64_t count, std::string_view noun) {
    return std::to_string(count).append(" ").append(noun).append(count == 1 ? "" : "s");
}

}  // namespace cli
