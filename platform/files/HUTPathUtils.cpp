#include "platform/files/HUTPathUtils.h"

#include "platform/base/HI18N.h"

#include <algorithm>

namespace {

unsigned char byteAt(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

/// The beginning of the text, such that no character of UTF-8 is cut.
std::string_view cut(std::string_view text, std::size_t longest) {
    constexpr std::size_t longestRest = 3;
    std::size_t end = longest;
    while (end > 0 && longest - end < longestRest && (byteAt(text, end) & 0xc0) == 0x80)
        --end;
    return text.substr(0, end);
}

/// How many bytes at the beginning of the text are not fit for a message.
std::size_t unfitSize(std::string_view text, bool isUtf8) {
    const unsigned char byte = byteAt(text, 0);
    if (byte < 0x20 || byte == 0x7f || (byte >= 0x80 && !isUtf8)) return 1;
    const bool isControl = byte == 0xc2 && byteAt(text, 1) < 0xa0;  // U+0080 to U+009F
    return isControl ? 2 : 0;
}

}  // namespace

std::string HUTPathUtils::join(std::string_view first, std::string_view second) {
    if (first.empty() || second.empty()) return std::string(first.empty() ? second : first);
    while (second.starts_with('/'))
        second.remove_prefix(1);
    std::string path(first);
    if (!path.ends_with('/')) path += '/';
    return path.append(second);
}

std::string_view HUTPathUtils::withoutTrailingSeparators(std::string_view path) {
    while (path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

std::vector<std::string_view> HUTPathUtils::components(std::string_view path) {
    std::vector<std::string_view> components;
    while (!path.empty()) {
        const std::size_t size = std::min(path.find('/'), path.size());
        if (size > 0) components.push_back(path.substr(0, size));
        path.remove_prefix(std::min(size + 1, path.size()));
    }
    return components;
}

std::string_view HUTPathUtils::lastComponent(std::string_view path) {
    const std::string_view stripped = withoutTrailingSeparators(path);
    return stripped.empty() ? path.substr(0, 1) : stripped.substr(stripped.rfind('/') + 1);
}

std::string HUTPathUtils::parent(std::string_view path) {
    const std::string_view stripped = withoutTrailingSeparators(path);
    const std::size_t separator = stripped.rfind('/');
    if (separator == std::string_view::npos) return stripped.empty() && !path.empty() ? "/" : ".";
    const std::string_view above = withoutTrailingSeparators(stripped.substr(0, separator));
    return above.empty() ? "/" : std::string(above);
}

std::string HUTPathUtils::shown(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    const bool isUtf8 = HI18N::isUtf8(text);
    std::string result;
    while (!text.empty()) {
        const std::size_t unfit = unfitSize(text, isUtf8);
        for (std::size_t at = 0; at < unfit; ++at)
            result.append("\\x").append({digits[byteAt(text, at) >> 4], digits[byteAt(text, at) & 15]});
        if (unfit == 0) result += text.front();
        text.remove_prefix(std::max<std::size_t>(unfit, 1));
    }
    return result;
}

std::string HUTPathUtils::quoted(std::string_view text, std::size_t longest) {
    const bool isLong = text.size() > longest;
    return "'" + shown(isLong ? cut(text, longest) : text) + (isLong ? "...'" : "'");
}
