#include "platform/base/HI18N.h"

#include <cstdint>
#include <utility>

namespace {

constexpr char32_t replacement = 0xFFFD;
constexpr char32_t escapedByteBase = 0xDC00;

bool isHighSurrogate(char32_t c) {
    return c >= 0xD800 && c < 0xDC00;
}
bool isLowSurrogate(char32_t c) {
    return c >= 0xDC00 && c < 0xE000;
}
bool isEscapedByte(char32_t c) {
    return c >= 0xDC80 && c <= 0xDCFF;
}

struct Decoded {
    char32_t character = 0;
    std::size_t length = 0;  // 0 when the bytes at this place are not UTF-8
};

Decoded decodeOne(std::string_view bytes) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    std::size_t length = 0;
    char32_t smallest = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2, smallest = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, smallest = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4, smallest = 0x10000;
    } else {
        return {};
    }
    if (bytes.size() < length) return {};
    char32_t character = lead & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {};
        character = character << 6 | (byte(i) & 0x3F);
    }
    const bool surrogate = character >= 0xD800 && character < 0xE000;
    if (character < smallest || character > 0x10FFFF || surrogate) return {};
    return {character, length};
}

void appendUtf8(std::string& out, char32_t c) {
    const auto continuation = [](char32_t bits) { return static_cast<char>(0x80 | (bits & 0x3F)); };
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += {static_cast<char>(0xC0 | c >> 6), continuation(c)};
    } else if (c < 0x10000) {
        out += {static_cast<char>(0xE0 | c >> 12), continuation(c >> 6), continuation(c)};
    } else {
        out +=
            {static_cast<char>(0xF0 | c >> 18), continuation(c >> 12), continuation(c >> 6), continuation(c)};
    }
}

}  // namespace

std::wstring HI18N::convert(std::string_view narrow) {
    std::wstring wide;
    wide.reserve(narrow.size());
    while (!narrow.empty()) {
        const Decoded decoded = decodeOne(narrow);
        if (decoded.length == 0) {
            wide += static_cast<wchar_t>(escapedByteBase + static_cast<unsigned char>(narrow[0]));
            narrow.remove_prefix(1);
        } else {
            wide += static_cast<wchar_t>(decoded.character);
            narrow.remove_prefix(decoded.length);
        }
    }
    return wide;
}

std::string HI18N::convert(std::wstring_view wide) {
    std::string narrow;
    narrow.reserve(wide.size());
    for (std::size_t i = 0; i < wide.size(); ++i) {
        const auto c = static_cast<char32_t>(wide[i]);
        const char32_t next = i + 1 < wide.size() ? static_cast<char32_t>(wide[i + 1]) : 0;
        if (isHighSurrogate(c) && isLowSurrogate(next)) {
            appendUtf8(narrow, 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00));
            ++i;
        } else if (isEscapedByte(c)) {
            narrow += static_cast<char>(c - escapedByteBase);
        } else if (isHighSurrogate(c) || isLowSurrogate(c) || c > 0x10FFFF) {
            appendUtf8(narrow, replacement);
        } else {
            appendUtf8(narrow, c);
        }
    }
    return narrow;
}

bool HI18N::isUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const Decoded decoded = decodeOne(bytes);
        if (decoded.length == 0) return false;
        bytes.remove_prefix(decoded.length);
    }
    return true;
}
