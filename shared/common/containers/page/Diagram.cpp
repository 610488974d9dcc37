#include "containers/page/Diagram.h"

#include "containers/overview/Wording.h"
#include "containers/page/Drawing.h"
#include "containers/page/Table.h"

#include <algorithm>
#include <string>
#include <vector>

namespace kfab::page {
namespace {

using lint::PortFacts;
using overview::Argument;
using overview::Kernel;
using overview::Stretch;
using Ports = std::vector<const PortFacts*>;

constexpr std::size_t mostPorts = 32;  // at a side

constexpr double wireLength = 64;
constexpr double boxWidth = 300;
constexpr double width = boxWidth + 2 * wireLength;
constexpr double top = 1;
constexpr double titleHeight = 48;
constexpr double portHeight = 50;
constexpr double pinSize = 8;
constexpr double headSize = 9;
constexpr std::size_t nameColumns = 16;
constexpr std::size_t smallColumns = 18;

/// One side of the block. Outwards is the way from the block along the wires.
struct Side {
    double edge, outwards;
    Anchor anchor;
};

constexpr Side left{wireLength, -1, Anchor::Start};
constexpr Side right{wireLength + boxWidth, 1, Anchor::End};

/// What goes through a port: of a slave how many arguments, else which.
std::string loadText(const Kernel& kernel, const PortFacts& port) {
    if (port.isSlave() && port.isAddressable()) {
        std::size_t count = 0;
        for (const overview::AddressMap& map : kernel.maps)
            if (map.port == port.name)
                count += static_cast<std::size_t>(
                    std::count_if(map.stretches.begin(), map.stretches.end(),
                                  [](const Stretch& stretch) { return !stretch.argument.empty(); }));
        return count == 0 ? "" : overview::countText(count, "argument");
    }
    std::vector<std::string> names;
    for (const Argument& argument : kernel.arguments)
        if (argument.port == port.name) names.push_back(argument.name);
    return overview::listText(names);
}

void addHead(Markup& out, Point tip, double direction) {
    const double foot = tip.x - direction * headSize;
    polygon(out, "head", {tip, {foot, tip.y - headSize / 2}, {foot, tip.y + headSize / 2}});
}

/// Both ways for memory, one way for a stream, and without a head for what is neither.
void addWire(Markup& out, const Side& side, const PortFacts& port, double y) {
    const double near = side.edge + side.outwards * pinSize / 2;
    const double far = side.edge + side.outwards * (wireLength - 2);
    const bool isMemory = port.isAddressable();
    const bool isStream = port.isStream();
    const bool goesOut = isMemory || (isStream && port.isMaster());
    const bool goesIn = isMemory || (isStream && port.isSlave());
    const auto end = [&](double x, bool hasHead, double direction) {
        return Point{hasHead ? x - direction * headSize : x, y};
    };
    line(out,
         isMemory   ? Literal("memory")
         : isStream ? Literal("stream")
                    : Literal("unknown"),
         end(near, goesIn, -side.outwards), end(far, goesOut, side.outwards));
    if (goesOut) addHead(out, {far, y}, side.outwards);
    if (goesIn) addHead(out, {near, y}, -side.outwards);
}

void addPort(Markup& out, const Kernel& kernel, const Side& side, const PortFacts& port, double y) {
    addWire(out, side, port, y);
    rectangle(out, "pin", {side.edge - pinSize / 2, y - pinSize / 2, pinSize, pinSize});
    if (const std::string bits = overview::plainText(port.dataWidth); !bits.empty())
        label(out, {side.edge + side.outwards * (wireLength + pinSize) / 2, y - 9}, Anchor::Middle,
              bits + (port.dataWidth.value ? " bit" : ""), "quiet", 9);
    const double inside = side.edge - side.outwards * (pinSize + 4);
    label(out, {inside, y + 4}, side.anchor, port.name, "strong", nameColumns);
    if (const std::string load = loadText(kernel, port); !load.empty())
        label(out, {inside, y + 18}, side.anchor, load, "quiet", smallColumns);
}

void addSide(Markup& out, const Kernel& kernel, const Side& side, const Ports& ports) {
    double y = top + titleHeight + portHeight / 2 - 4;
    for (std::size_t at = 0; at < std::min(ports.size(), mostPorts); ++at, y += portHeight)
        addPort(out, kernel, side, *ports[at], y);
    if (ports.size() > mostPorts)
        label(out, {side.edge - side.outwards * (pinSize + 4), y + 4}, side.anchor,
              restText(ports.size() - mostPorts), "quiet");
}

std::string namesOf(const Ports& ports) {
    std::vector<std::string> names;
    for (std::size_t at = 0; at < std::min(ports.size(), mostPorts); ++at)
        names.push_back(ports[at]->name);
    return names.empty() ? "nothing" : overview::listText(names);
}

}  // namespace

void addDiagram(Markup& out, const Kernel& kernel) {
    Ports slaves;
    Ports masters;
    for (const PortFacts& port : kernel.ports)
        (port.isMaster() ? masters : slaves).push_back(&port);
    const std::size_t most = std::max(slaves.size(), masters.size());
    const double height = titleHeight + portHeight * static_cast<double>(std::min(most, mostPorts + 1)) + 4;

    const auto figure = out.open("figure");
    {
        const auto picture = openPicture(
            out, width, height + 2 * top,
            "Block diagram: at the left " + namesOf(slaves) + "; at the right " + namesOf(masters));
        rectangle(out, "box", {wireLength, top, boxWidth, height});
        label(out, {width / 2, top + 26}, Anchor::Middle, kernel.name, "strong", 34);
        addSide(out, kernel, left, slaves);
        addSide(out, kernel, right, masters);
    }
    out.add("figcaption",
            "Slaves are at the left, masters at the right. Thick lines are memory, read or written; thin "
            "ones are "
            "streams, in the direction of their data.");
}

}  // namespace kfab::page
