#include "platform/xml/Quoted.h"

#include <cstddef>

std::string lmx60::quoted(std::string_view text) {
    constexpr std::size_t longest = 80;
    std::size_t size = text.size();
    if (size > longest) size = longest;
    while (size > 0 && size < text.size() && (text[size] & 0xC0) == 0x80)
        --size;  // no half of a character
    std::string shown = "'";
    for (const char c : text.substr(0, size))
        shown += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? ' ' : c;
    return shown + (size < text.size() ? "...'" : "'");
}
