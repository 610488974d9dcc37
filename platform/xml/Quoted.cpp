#include "platform/xml/Quoted.h"

#include "platform/base/HI18N.h"

#include <cstddef>

std::string lmx60::quoted(std::string_view text) {
    constexpr std::size_t longest = 80;
    std::string_view front = text.substr(0, longest);
    while (front.size() < text.size() && !HI18N::isUtf8(front))
        front.remove_suffix(1);  // no half of a character
    std::string shown = "'";
    for (const char c : front)
        shown += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? ' ' : c;
    return shown + (front.size() < text.size() ? "...'" : "'");
}
