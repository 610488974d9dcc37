#include "platform/zip/ArchiveEntry.h"

#include <algorithm>

#include <climits>

namespace {

bool hasComponent(std::string_view path, std::string_view wanted) {
    while (!path.empty()) {
        const std::size_t end = path.find('/');
        if (path.substr(0, end) == wanted) return true;
        path = end == std::string_view::npos ? std::string_view() : path.substr(end + 1);
    }
    return false;
}

}  // namespace

std::string_view unsafeNameReason(std::string_view name) {
    if (name.empty()) return "it is empty";
    if (name.starts_with('/')) return "it is an absolute path";
    if (name.find('\\') != std::string_view::npos) return "it contains a backslash";
    if (name.find('\0') != std::string_view::npos) return "it contains a NUL character";
    if (hasComponent(name, "..")) return "it contains '..'";
    return {};
}

std::string_view unextractableNameReason(std::string_view name) {
    constexpr std::ptrdiff_t maximumComponents = 256;  // a directory is kept open for each on the way down
    if (name.size() >= PATH_MAX) return "its name is longer than a path can be";
    if (std::count(name.begin(), name.end(), '/') >= maximumComponents)
        return "its name has more than 256 components";
    return unsafeNameReason(name);
}
