#include "containers/page/Markup.h"

#include "platform/files/DisplayText.h"

#include <array>
#include <charconv>

namespace kfab::page {
namespace {

std::string_view escaped(const char& character) {
    switch (character) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\'':
            return "&#39;";
        default:
            return {&character, 1};
    }
}

}  // namespace

std::string numberText(double number) {
    std::array<char, 400> text{};
    const auto end = std::to_chars(text.begin(), text.end(), number, std::chars_format::fixed, 2).ptr;
    std::string_view digits(text.data(), static_cast<std::size_t>(end - text.data()));
    while (digits.ends_with('0'))
        digits.remove_suffix(1);
    if (digits.ends_with('.')) digits.remove_suffix(1);
    return std::string(digits);
}

Attribute::Attribute(Literal name, double number) : name(name), value(numberText(number)) {}

Markup::Element::~Element() {
    out_.append("</").append(name_.text()).append(">\n");
}

void Markup::append(std::string_view text) {
    for (const char& character : display::displayed(text))
        out_ += escaped(character);
}

void Markup::begin(Literal name, Attributes attributes) {
    out_.append("<").append(name.text());
    for (const Attribute& attribute : attributes) {
        if (attribute.value.empty()) continue;
        out_.append(" ").append(attribute.name.text()).append("=\"");
        append(attribute.value);
        out_ += '"';
    }
}

Markup::Element Markup::open(Literal name, Attributes attributes) {
    begin(name, attributes);
    out_ += '>';
    return {out_, name};
}

void Markup::add(Literal name, Attributes attributes, std::string_view text) {
    begin(name, attributes);
    out_ += '>';
    append(text);
    out_.append("</").append(name.text()).append(">");
}

void Markup::addEmpty(Literal name, Attributes attributes) {
    begin(name, attributes);
    out_ += "/>\n";
}

void Markup::isolated(std::string_view text, std::size_t columns) {
    const std::string whole = display::displayed(text);
    const std::string shown = display::shortened(whole, columns, "…");
    add("bdi", {{"title", shown == whole ? "" : whole}}, shown);
}

void Markup::text(std::string_view text) {
    append(text);
}

void Markup::addVerbatim(Literal name, Literal text) {
    begin(name, {});
    out_.append(">").append(text.text()).append("</").append(name.text()).append(">\n");
}

}  // namespace kfab::page
