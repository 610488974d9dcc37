#pragma once

#include <cstdint>
#include <string>

/// The running software's version: two texts that are decimal numbers.
struct SoftwareVersion {
    std::string majorText;
    std::string minorText;

    static SoftwareVersion running();

    /// A text that is no number throws std::invalid_argument, one past 32 bits std::out_of_range.
    std::uint32_t major() const;
    std::uint32_t minor() const;
};
