#pragma once

#include "platform/zip/ArchiveSnapshot.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// A folder of a package with the members in it, by their names.
struct PackageFolder {
    std::shared_ptr<const ArchiveSnapshot> archive;
    std::string name;
    std::vector<std::uint32_t> members;  ///< as positions in the archive
};

/// What kernels of several packages may use together: the IPs of their repositories, and their IP caches.
class SharedFolders {
public:
    /// True: kernels have the whole repository as their IP, which is then one folder.
    explicit SharedFolders(bool isRepositoryOneIp) : isRepositoryOneIp_(isRepositoryOneIp) {}

    /// The IPs and IP caches of a package.
    std::vector<PackageFolder> foldersOf(const std::shared_ptr<const ArchiveSnapshot>& archive) const;
    /// Adds a folder unless one of its name is there, IPs without regard to case. Returns the name that it
    /// has from now on, which is that of the first. Throws when that one holds other files.
    const std::string& add(const PackageFolder& folder);
    /// All that were added.
    const std::map<std::string, PackageFolder>& all() const { return folders_; }

private:
    std::string folderOf(std::string_view member) const;

    bool isRepositoryOneIp_;
    std::map<std::string, PackageFolder> folders_;
};
