#pragma once

namespace cli {

/// Whether standard error is a terminal that can do more than show lines.
bool isOnTerminal();

/// Whether it is one, and nobody asks for no colours.
bool hasColour();

}  // namespace cli
