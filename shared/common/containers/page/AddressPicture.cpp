#include "containers/page/AddressPicture.h"

#include "containers/kernel/NumberText.h"
#include "containers/overview/Wording.h"
#include "containers/page/Drawing.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace kfab::page {
namespace {

using overview::AddressMap;
using overview::Stretch;

constexpr std::size_t mostStretches = 100;

constexpr double width = 416;
constexpr double top = 16;
constexpr double labelHeight = 20;
constexpr double leastHeight = 160;
constexpr double wholeAt = 1;
constexpr double wholeWidth = 28;
constexpr double usedAt = 64;
constexpr double usedWidth = 48;
constexpr double aside = 24;  // by how much an overlap stands out
constexpr double labelsAt = 156;
constexpr std::size_t labelColumns = 32;

/// Those up to the last one that is used.
std::span<const Stretch> usedOf(const AddressMap& map) {
    std::size_t count = std::min(map.stretches.size(), mostStretches);
    while (count > 0 && map.stretches[count - 1].use == Stretch::Use::Gap)
        --count;
    return {map.stretches.data(), count};
}

/// Bytes as places in a picture.
struct Scale {
    std::uint64_t bytes;
    double height;

    double at(std::uint64_t byte) const {
        return top + height * static_cast<double>(byte) / static_cast<double>(bytes);
    }
};

Literal kindOf(const Stretch& stretch) {
    if (stretch.shared > 0 || stretch.isBeyond) return "wrong";
    switch (stretch.use) {
        case Stretch::Use::Control:
            return "control";
        case Stretch::Use::Value:
            return "value";
        case Stretch::Use::Pointer:
            return "pointer";
        case Stretch::Use::Gap:
            break;
    }
    return "gap";
}

/// As "0x10: a, address, 8 B".
std::string labelText(const Stretch& stretch) {
    std::string text = kernel::hexadecimal(stretch.offset) + ": ";
    if (!stretch.argument.empty()) text += stretch.argument + ", ";
    text += std::string(overview::useText(stretch.use)) + ", " + overview::sizeText(stretch.size);
    const std::string wrong = overview::wrongText(stretch);
    return wrong.empty() ? text : text + ", " + wrong;
}

/// Where the labels stand: beside what they name, or as near as others leave room.
std::vector<double> labelPlaces(std::span<const Stretch> stretches, const Scale& scale) {
    std::vector<double> places;
    for (const Stretch& stretch : stretches) {
        const double middle = (scale.at(stretch.offset) + scale.at(stretch.end())) / 2;
        places.push_back(places.empty() ? middle : std::max(middle, places.back() + labelHeight));
    }
    double lowest = top + scale.height - labelHeight / 2;
    for (auto place = places.rbegin(); place != places.rend(); ++place, lowest -= labelHeight)
        *place = std::min(*place, lowest);
    return places;
}

void addUsed(Markup& out, std::span<const Stretch> stretches, const Scale& scale) {
    const std::vector<double> places = labelPlaces(stretches, scale);
    for (std::size_t at = 0; at < stretches.size(); ++at) {
        const Stretch& stretch = stretches[at];
        const double x = usedAt + (stretch.shared > 0 ? aside : 0);
        const double begin = scale.at(stretch.offset);
        const double height = std::max(scale.at(stretch.end()) - begin, 1.0);
        rectangle(out, kindOf(stretch), {x, begin, usedWidth, height});
        line(out, "lead", {x + usedWidth, begin + height / 2}, {labelsAt - 6, places[at]});
        label(out, {labelsAt, places[at] + 4}, Anchor::Start, labelText(stretch),
              stretch.use == Stretch::Use::Gap ? Literal("quiet") : Literal(""), labelColumns);
    }
}

/// The port from its first byte to its last, and lines to the part that is used.
void addWhole(Markup& out, std::span<const Stretch> stretches, const Scale& scale, const Scale& used) {
    rectangle(out, "track", {wholeAt, top, wholeWidth, scale.height});
    const double end = std::max(scale.at(used.bytes), top + 1.5);
    for (const Stretch& stretch : stretches)
        if (stretch.use != Stretch::Use::Gap) {
            const double begin = scale.at(stretch.offset);
            rectangle(out, "filled",
                      {wholeAt, begin, wholeWidth, std::max(scale.at(stretch.end()) - begin, 0.5)});
        }
    line(out, "lead", {wholeAt + wholeWidth, top}, {usedAt, top});
    line(out, "lead", {wholeAt + wholeWidth, end}, {usedAt, top + used.height});
    label(out, {wholeAt, top + scale.height + 14}, Anchor::Start, overview::sizeText(scale.bytes), "quiet");
}

}  // namespace

void addAddressPicture(Markup& out, const AddressMap& map) {
    const std::span<const Stretch> stretches = usedOf(map);
    std::uint64_t end = 0;
    for (const Stretch& stretch : stretches)
        end = std::max(end, stretch.end());
    if (end == 0) return;
    const double height = std::max(leastHeight, labelHeight * static_cast<double>(stretches.size()));
    const Scale used{end, height};
    const bool hasMore = map.range && *map.range > end;

    const auto figure = out.open("figure");
    {
        const auto picture = openPicture(out, width, top + height + 24,
                                         "Address map of " + map.port + " to scale; the table says the same");
        if (hasMore) addWhole(out, stretches, {*map.range, height}, used);
        addUsed(out, stretches, used);
    }
    std::string caption = "To scale: " + std::string(hasMore ? "all of the port, and beside it " : "") +
                          "the bytes from 0x0 to " + kernel::hexadecimal(end) + ".";
    if (map.stretches.size() > mostStretches)
        caption += " Of " + std::to_string(map.stretches.size()) + " pieces the first " +
                   std::to_string(mostStretches) + " are drawn.";
    out.add("figcaption", caption);
}

}  // namespace kfab::page
