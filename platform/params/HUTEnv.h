#pragma once

#include "platform/base/Export.h"

#include <string>

/// What the running software knows of itself and its surroundings.
class KP_EXPORT HUTEnv {
public:
    /// The running software's version as two decimal texts: 2020 and 1, or the two sides of the "." in the
    /// environment variable KP_SOFTWARE_VERSION, unchecked; empty texts where that variable lacks them.
    static std::string getMajor();
    static std::string getMinor();

    /// The directory for temporary files: TMPDIR, else the system's. Not checked to exist.
    static std::string getTKQTmpDir();
};
