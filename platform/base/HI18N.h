#pragma once

#include "platform/base/Export.h"

#include <string>
#include <string_view>

/// Conversion between narrow (UTF-8) and wide (one code point a wchar_t) strings.
///
/// Bytes that are not UTF-8 become the lone surrogates U+DC80 to U+DCFF and turn into the same bytes again,
/// so a file name in any encoding survives the way there and back. A surrogate pair that arrives as two wide
/// characters becomes one UTF-8 character. What is no character at all becomes U+FFFD.
class KP_EXPORT HI18N {
public:
    static std::wstring convert(std::string_view narrow);
    static std::string convert(std::wstring_view wide);

    /// Whether the bytes are well-formed UTF-8: no overlong forms, no surrogates, nothing past U+10FFFF.
    static bool isUtf8(std::string_view bytes);
};
