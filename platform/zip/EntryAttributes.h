#pragma once

#include "platform/base/Export.h"

#include <cstdint>
#include <ctime>

#include <sys/types.h>

/// The time that an entry gets for a file's modification time: that time, or SOURCE_DATE_EPOCH where it is
/// set, in UTC and between 1980 and 2107, as date (upper half) and time of the zip format. Throws
/// HEXAlgException when SOURCE_DATE_EPOCH is no number of seconds.
std::uint32_t entryTime(std::time_t modified);

/// The type and permissions that an entry gets for a file's mode: those of the file. Where SOURCE_DATE_EPOCH
/// is set they are 0755 for directories and what the owner may execute, else 0644: whoever checks the same
/// sources out under another umask gets the same archive.
mode_t entryMode(mode_t mode);

/// The time in UTC that an entry's date and time tell.
KP_EXPORT std::time_t modifiedTime(std::uint32_t dosTime);
