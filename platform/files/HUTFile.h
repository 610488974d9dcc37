#pragma once

#include "platform/base/Export.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Yields the full paths of files, one after the other.
class KP_EXPORT HUTFileIter {
public:
    explicit HUTFileIter(std::vector<std::string> paths) : paths_(std::move(paths)) {}

    bool hasNext() const { return next_ < paths_.size(); }
    /// The next path. Only while hasNext().
    const std::string& next() { return paths_[next_++]; }

    std::vector<std::string>::const_iterator begin() const { return paths_.begin(); }
    std::vector<std::string>::const_iterator end() const { return paths_.end(); }

private:
    std::vector<std::string> paths_;
    std::size_t next_ = 0;
};

/// Questions and simple operations on files. What fails throws HEXAlgException.
class KP_EXPORT HUTFile {
public:
    /// These three follow symbolic links. A path that no file can have, be it too long or a loop of links,
    /// leads to nothing; but what cannot be looked at is not taken for missing: they throw.
    static bool exists(const std::string& path);
    static bool isFile(const std::string& path);
    static bool isDir(const std::string& path);

    static std::string getDirSeparator() { return "/"; }
    /// The absolute path without ".", ".." and symbolic links; of what does not exist, as far as it exists.
    static std::string getCanonicalName(const std::string& path);

    /// The number of regular files below the directory at any depth, by the walk that packs a directory; 0
    /// when no directory is there.
    static std::uint64_t fileCount(const std::string& directory);
    /// The directory's own regular files, sorted by name.
    static HUTFileIter createFileIter(const std::string& directory);
    /// Creates the directory with its parents where missing and makes sure that files can be made in it.
    static void ensureWritableDir(const std::string& directory);

    static std::string readFile(const std::string& path);
    /// Creates the file or replaces it, as a whole or not at all whatever happens (see PendingFile); what is
    /// no regular file is written into.
    static void writeFile(const std::string& path, std::string_view bytes);
};
