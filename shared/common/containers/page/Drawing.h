#pragma once

#include "containers/page/Markup.h"

#include <cstddef>
#include <string>
#include <string_view>

// Shapes of pictures. Their texts are set in a font of one width, so that it is known how many columns fit
// where.

namespace kfab::page {

struct Point {
    double x = 0, y = 0;
};

struct Rectangle {
    double x = 0, y = 0, width = 0, height = 0;
};

enum class Anchor { Start, Middle, End };

/// Wide enough for one column of text at 13 and at 11 pixels.
constexpr double columnWidth = 8;
constexpr double smallColumnWidth = 7;

/// A picture with the text that stands for it where it is not seen.
[[nodiscard]] Markup::Element openPicture(Markup& out, double width, double height, const std::string& text);

void rectangle(Markup& out, Literal kind, Rectangle rectangle);
void line(Markup& out, Literal kind, Point from, Point to);
void polygon(Markup& out, Literal kind, std::initializer_list<Point> corners);
/// A text on one line, whose `place` is at its foot. What takes more columns loses its middle, and is shown
/// whole to who points at it.
void label(Markup& out, Point place, Anchor anchor, const std::string& text, Literal kind = "",
           std::size_t columns = std::string::npos);

}  // namespace kfab::page
