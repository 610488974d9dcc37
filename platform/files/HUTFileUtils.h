#pragma once

#include "platform/base/Export.h"

#include <string>

/// Names and directories of one's own.
class KP_EXPORT HUTFileUtils {
public:
    /// `name`, or a number, "_" and `name`, such that the directory holds no such name. Another process may
    /// take the name meanwhile.
    static std::string uniquifyFilenameInDir(const std::string& directory, const std::string& name);

    /// Removes what is at the path with all below it, as far as that can be done.
    static void removeTree(const std::string& path) noexcept;
};

/// A directory of one's own that is removed with all that it holds at the end of the scope.
class KP_EXPORT ScratchDirectory {
public:
    /// Created below `parent`, which is created where missing, open to this user alone; the name ends in
    /// `suffix`.
    ScratchDirectory(const std::string& parent, const std::string& suffix);
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    /// Absolute.
    const std::string& path() const { return path_; }

private:
    std::string path_;
};
