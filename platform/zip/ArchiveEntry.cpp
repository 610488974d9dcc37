#include "platform/zip/ArchiveEntry.h"

#include "platform/files/HUTPathUtils.h"

#include <algorithm>

#include <climits>

std::string_view unsafeNameReason(std::string_view name) {
    if (name.empty()) return "it is empty";
    if (name.starts_with('/')) return "it is an absolute path";
    if (name.find('\\') != std::string_view::npos) return "it contains a backslash";
    if (name.find('\0') != std::string_view::npos) return "it contains a NUL character";
    const std::vector<std::string_view> components = HUTPathUtils::components(name);
    if (std::find(components.begin(), components.end(), "..") != components.end()) return "it contains '..'";
    return {};
}

std::string_view unextractableNameReason(std::string_view name) {
    constexpr std::ptrdiff_t maximumComponents = 256;  // a directory is kept open for each on the way down
    if (name.size() >= PATH_MAX) return "its name is longer than a path can be";
    if (std::count(name.begin(), name.end(), '/') >= maximumComponents)
        return "its name has more than 256 components";
    return unsafeNameReason(name);
}
