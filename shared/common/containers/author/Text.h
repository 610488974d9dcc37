#pragma once

#include "platform/files/HUTPathUtils.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace kfab::author {

/// As descriptions have numbers: "0x1C".
inline std::string hexadecimal(std::uint64_t value) {
    char text[19];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
    return text;
}

/// A name in quotes, fit for a message.
inline std::string quoted(std::string_view name) {
    return "'" + HUTPathUtils::shown(name) + "'";
}

}  // namespace kfab::author
