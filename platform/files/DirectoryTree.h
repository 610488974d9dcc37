#pragma once

#include "platform/base/Export.h"

#include <functional>
#include <string>
#include <vector>

/// Something below a directory.
struct KP_EXPORT TreeItem {
    std::string name;  ///< relative to the directory walked
    bool isDirectory = false;
    bool isEmpty = false;  ///< a directory that holds nothing
};

/// The one walk over a directory tree, for packing it and for counting its files.
///
/// The items come in byte order of their names, a directory's name taken with a "/" at its end, whatever the
/// locale and the file system. A symbolic link counts as what it leads to.
class KP_EXPORT DirectoryTree {
public:
    using LoopReport = std::function<void(const std::string& path)>;

    static constexpr std::size_t maximumItems = 1'000'000;

    /// All items below the directory. A link that leads back to a directory above it is left out and its path
    /// reported. Throws HEXAlgException for a link that leads nowhere, for a socket, a pipe or a device, for
    /// more than `maximumItems` items, and for what cannot be read.
    static std::vector<TreeItem> walk(const std::string& directory, const LoopReport& onLoop = {});
};
