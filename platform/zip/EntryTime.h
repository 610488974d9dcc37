#pragma once

#include <cstdint>
#include <ctime>

/// The time that an entry gets for a file's modification time: that time, or SOURCE_DATE_EPOCH where it is
/// set, in UTC and between 1980 and 2107, as date (upper half) and time of the zip format. Throws
/// HEXAlgException when SOURCE_DATE_EPOCH is no number of seconds.
std::uint32_t entryTime(std::time_t modified);

/// The time in UTC that an entry's date and time tell.
std::time_t modifiedTime(std::uint32_t dosTime);
