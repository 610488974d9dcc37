#include "cli/Style.h"

#include "cli/Terminal.h"

#include <algorithm>
#include <cmath>

namespace cli {

Style Style::ofOutput() {
    return {.hasColour = cli::hasColour(STDOUT_FILENO), .isUtf8 = isUtf8Locale()};
}

std::string Style::coloured(std::string_view text, Colour colour) const {
    constexpr const char* codes[] = {"", "\x1b[1m", "\x1b[32m", "\x1b[33m", "\x1b[31m", "\x1b[2m"};
    if (!hasColour || colour == Colour::None || text.empty()) return std::string(text);
    return codes[static_cast<std::size_t>(colour)] + std::string(text) + "\x1b[0m";
}

std::string Style::rest(std::size_t count) const {
    return std::string(ellipsis()) + " and " + std::to_string(count) + " more";
}

std::string Style::bar(double share, std::size_t width) const {
    constexpr const char* pieces[] = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
    if (!(share > 0)) return {};
    const std::size_t steps = isUtf8 ? 8 : 1;
    const auto filled = static_cast<std::size_t>(
        std::max(1L, std::lround(std::min(share, 1.0) * static_cast<double>(width * steps))));
    std::string bar;
    for (std::size_t full = 0; full < filled / steps; ++full)
        bar += isUtf8 ? "█" : "#";
    return isUtf8 ? bar + pieces[filled % steps] : bar;
}

}  // namespace cli
