#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace kfab::page {

/// A name or a text of this program's own: only what is known when it is compiled can be one.
class Literal {
public:
    consteval Literal(const char* text) : text_(text) {}  // NOLINT(google-explicit-constructor)
    constexpr std::string_view text() const { return text_; }

private:
    std::string_view text_;
};

/// Of an element; one without a value is left out.
struct Attribute {
    Attribute(Literal name, std::string value) : name(name), value(std::move(value)) {}
    Attribute(Literal name, double number);

    Literal name;
    std::string value;
};

using Attributes = std::initializer_list<Attribute>;

/// Writes elements of HTML and of the SVG in it. Whatever goes between tags and into attributes becomes fit
/// for eyes and is escaped here, so that no text of a document can be anything but text.
class Markup {
public:
    /// An element, as long as it lives.
    class Element {
    public:
        Element(std::string& out, Literal name) : out_(out), name_(name) {}
        ~Element();
        Element(const Element&) = delete;
        Element& operator=(const Element&) = delete;

    private:
        std::string& out_;
        Literal name_;
    };

    Markup() : out_("<!DOCTYPE html>\n") {}

    [[nodiscard]] Element open(Literal name, Attributes attributes = {});
    /// An element with a text in it, and one with nothing in it.
    void add(Literal name, Attributes attributes, std::string_view text);
    void add(Literal name, std::string_view text) { add(name, {}, text); }
    void addEmpty(Literal name, Attributes attributes);
    void text(std::string_view text);
    /// A text whose direction has no effect on what is around it. What takes more columns loses its middle,
    /// and is shown whole to who points at it.
    void isolated(std::string_view text, std::size_t columns = std::string_view::npos);
    /// Text of this program's own for elements in which nothing is escaped.
    void addVerbatim(Literal name, Literal text);

    /// Leaves nothing here.
    std::string take() { return std::move(out_); }

private:
    void begin(Literal name, Attributes attributes);
    void append(std::string_view text);

    std::string out_;
};

/// As attributes have it: "12.5".
std::string numberText(double number);

}  // namespace kfab::page
