#include "containers/page/Drawing.h"

#include "platform/files/DisplayText.h"

#include <array>

namespace kfab::page {

Markup::Element openPicture(Markup& out, double width, double height, const std::string& text) {
    return out.open("svg", {{"class", "picture"},
                            {"viewBox", "0 0 " + numberText(width) + " " + numberText(height)},
                            {"role", "img"},
                            {"aria-label", text}});
}

void rectangle(Markup& out, Literal kind, Rectangle rectangle) {
    out.addEmpty("rect", {{"class", std::string(kind.text())},
                          {"x", rectangle.x},
                          {"y", rectangle.y},
                          {"width", rectangle.width},
                          {"height", rectangle.height}});
}

void line(Markup& out, Literal kind, Point from, Point to) {
    out.addEmpty(
        "line",
        {{"class", std::string(kind.text())}, {"x1", from.x}, {"y1", from.y}, {"x2", to.x}, {"y2", to.y}});
}

void polygon(Markup& out, Literal kind, std::initializer_list<Point> corners) {
    std::string points;
    for (const Point& corner : corners)
        points += (points.empty() ? "" : " ") + numberText(corner.x) + "," + numberText(corner.y);
    out.addEmpty("polygon", {{"class", std::string(kind.text())}, {"points", points}});
}

void label(Markup& out, Point place, Anchor anchor, const std::string& text, Literal kind,
           std::size_t columns) {
    constexpr std::array anchors = {"", "middle", "end"};
    const std::string whole = display::displayed(text);
    const std::string shown = display::shortened(whole, columns, "…");
    const auto element = out.open("text", {{"class", std::string(kind.text())},
                                           {"x", place.x},
                                           {"y", place.y},
                                           {"text-anchor", anchors.at(static_cast<std::size_t>(anchor))}});
    out.text(shown);
    if (shown != whole) out.add("title", whole);
}

}  // namespace kfab::page
