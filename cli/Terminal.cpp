#include "cli/Terminal.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>

#include <langinfo.h>
#include <locale.h>
#include <sys/ioctl.h>

namespace cli {
namespace {

std::string_view variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// None unless it is a positive number.
std::optional<std::size_t> statedWidth() {
    const std::string_view text = variable("COLUMNS");
    std::size_t width = 0;
    const char* const whole = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), whole, width);
    if (error != std::errc() || end != whole || width == 0) return {};
    return width;
}

}  // namespace

bool isOnTerminal(int descriptor) {
    return ::isatty(descriptor) != 0 && variable("TERM") != "dumb";
}

bool hasColour(int descriptor) {
    return isOnTerminal(descriptor) && variable("NO_COLOR").empty();
}

std::size_t terminalWidth(int descriptor) {
    constexpr std::size_t usualWidth = 80;
    struct winsize size {};
    return ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualWidth;
}

std::size_t outputWidth() {
    constexpr std::size_t narrowest = 20;
    constexpr std::size_t widest = 1000;
    return std::clamp(statedWidth().value_or(terminalWidth(STDOUT_FILENO)), narrowest, widest);
}

bool isUtf8Locale() {
    const std::unique_ptr<std::remove_pointer_t<locale_t>, void (*)(locale_t)> locale(
        ::newlocale(LC_CTYPE_MASK, "", nullptr), ::freelocale);
    return locale != nullptr && std::string_view(::nl_langinfo_l(CODESET, locale.get())) == "UTF-8";
}

}  // namespace cli
