#include "cli/Terminal.h"

#include <cstdlib>
#include <string_view>

#include <unistd.h>

namespace cli {
namespace {

std::string_view variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

}  // namespace

bool isOnTerminal() {
    return ::isatty(STDERR_FILENO) != 0 && variable("TERM") != "dumb";
}

bool hasColour() {
    return isOnTerminal() && variable("NO_COLOR").empty();
}

}  // namespace cli
