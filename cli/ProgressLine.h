#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace cli {

/// How far work of so many bytes is after so many seconds, such as
/// " 42% [#####-------]  123.4 MB/s  0:07 left", with as much of it as a width in columns has room for.
std::string progressLine(std::uint64_t done, std::uint64_t total, double seconds, std::size_t width,
                         bool hasColour);

}  // namespace cli
