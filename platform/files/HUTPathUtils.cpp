#include "platform/files/HUTPathUtils.h"

#include "platform/base/HI18N.h"

#include <boost/filesystem/operations.hpp>

namespace {

std::string_view withoutTrailingSeparators(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    return path;
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

std::string HUTPathUtils::makeAbsolute(const std::string& path) {
    return boost::filesystem::absolute(path).string();
}

std::string_view HUTPathUtils::lastComponent(std::string_view path) {
    path = withoutTrailingSeparators(path);
    return path == "/" ? path : path.substr(path.rfind('/') + 1);
}

std::string HUTPathUtils::parent(std::string_view path) {
    path = withoutTrailingSeparators(path);
    const std::size_t separator = path.rfind('/');
    if (separator == std::string_view::npos) return ".";
    return std::string(withoutTrailingSeparators(path.substr(0, separator + 1)));
}

std::string HUTPathUtils::shown(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    const bool isUtf8 = HI18N::isUtf8(text);
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f || (byte >= 0x80 && !isUtf8)) {
            result.append("\\x").append({digits[byte >> 4], digits[byte & 15]});
        } else {
            result += c;
        }
    }
    return result;
}
