#include "cli/TextPage.h"

#include "cli/Terminal.h"
#include "platform/files/DisplayText.h"

#include <iostream>

namespace cli {
namespace {

using display::displayWidth;
using display::shortened;

constexpr std::size_t indent = 2;
constexpr std::size_t labelWidth = 11;

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
    for (const std::string& line : display::wrapped(text, width_ - lead.size())) {
        out_ << before << style_.coloured(line, colour) << '\n';
        before.assign(lead.size(), ' ');
    }
}

void TextPage::table(const TextTable& table, std::size_t most) {
    table.print(out_, style_, width_, indent, most);
}

}  // namespace cli
