#include "platform/zip/EntryAttributes.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>

#include <sys/stat.h>

namespace {

constexpr std::time_t earliest = 315'532'800;  // 1980-01-01 00:00:00
constexpr std::time_t latest = 4'354'819'198;  // 2107-12-31 23:59:58

std::optional<std::time_t> sourceDateEpoch() {
    const char* value = std::getenv("SOURCE_DATE_EPOCH");
    if (value == nullptr) return {};
    const std::string_view text = value;
    std::time_t seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size())
        throw HEXAlgException("SOURCE_DATE_EPOCH is no number of seconds: " + HUTPathUtils::quoted(text));
    return seconds;
}

}  // namespace

std::uint32_t entryTime(std::time_t modified) {
    const std::time_t seconds = std::clamp(sourceDateEpoch().value_or(modified), earliest, latest);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    const int date = (parts.tm_year - 80) << 9 | (parts.tm_mon + 1) << 5 | parts.tm_mday;
    const int time = parts.tm_hour << 11 | parts.tm_min << 5 | parts.tm_sec / 2;
    return static_cast<std::uint32_t>(date) << 16 | static_cast<std::uint32_t>(time);
}

mode_t entryMode(mode_t mode) {
    constexpr mode_t permissionBits = 0777;
    const mode_t type = mode & S_IFMT;
    if (!sourceDateEpoch()) return type | (mode & permissionBits);
    return type | (S_ISDIR(mode) || (mode & S_IXUSR) != 0 ? 0755 : 0644);
}

std::time_t modifiedTime(std::uint32_t dosTime) {
    const auto bits = [&](int position, unsigned count) {
        return static_cast<int>(dosTime >> position & ((1U << count) - 1));
    };
    std::tm parts{};
    parts.tm_year = bits(25, 7) + 80;
    parts.tm_mon = bits(21, 4) - 1;
    parts.tm_mday = bits(16, 5);
    parts.tm_hour = bits(11, 5);
    parts.tm_min = bits(5, 6);
    parts.tm_sec = 2 * bits(0, 5);
    return timegm(&parts);
}
