#pragma once

#include <algorithm>
#include <string>
#include <vector>

/// The pieces that a function makes of the numbers from 0 on.
template <class Make>
std::string repeated(int count, const Make& piece) {
    std::string text;
    for (int number = 0; number < count; ++number)
        text += piece(number);
    return text;
}

/// An element with its attributes behind its name, such as "parameter type='int'", and all that it holds.
template <class... Pieces>
std::string tag(const std::string& name, const Pieces&... content) {
    return "<" + name + ">" + (std::string() + ... + content) + "</" + name.substr(0, name.find(' ')) + ">";
}

/// An element with a child "name" and others.
template <class... Pieces>
std::string named(const std::string& element, const std::string& name, const Pieces&... content) {
    return tag(element, tag("name", name), content...);
}

inline const std::string busType = "<busType vendor='v' library='l' name='b' version='1'/>";

/// A logical port mapped to a physical one.
inline std::string portMap(const std::string& logical, const std::string& physical,
                           const std::string& more = "") {
    return tag("portMap", named("logicalPort", logical), named("physicalPort", physical, more));
}

/// The ends of a vector or a range.
inline std::string range(const std::string& left, const std::string& right) {
    return tag("left", left) + tag("right", right);
}

/// An IEEE 1685-2014 component of a VLNV such as "v:l:n:1.0", with more children behind it, on line 2.
inline std::string componentXml(const std::string& vlnv, const std::string& children = "") {
    std::string identity;
    std::size_t begin = 0;
    for (const std::string part : {"vendor", "library", "name", "version"}) {
        const std::size_t end = std::min(vlnv.find(':', begin), vlnv.size());
        identity += tag(part, vlnv.substr(begin, end - begin));
        begin = std::min(end + 1, vlnv.size());
    }
    return tag("component xmlns='http://www.accellera.org/XMLSchema/IPXACT/1685-2014'", identity, "\n",
               children) +
           "\n";
}
