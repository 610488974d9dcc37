#pragma once

#include "platform/base/Export.h"
#include "platform/files/DiskFailure.h"
#include "platform/files/DiskFaults.h"
#include "platform/files/FileDescriptor.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

/// The seam to the operating system: every call that reads or changes the disk goes through here. A call that
/// fails throws Failure, which names the path and the system's reason. Interrupted and short calls
/// are carried on. Nothing is at a path that no file can have, be it too long or a loop of symbolic links.
namespace disk {

/// What a directory holds under one name.
struct DirectoryItem {
    enum class Kind { File, Directory, Link, Other };

    std::string name;
    Kind kind;
};

/// @name Opening
/// Flags are those of open(2); close-on-exec is always set.
/// @{

KP_EXPORT FileDescriptor open(const Where& where, int flags, mode_t mode = 0666);
/// Hands back a descriptor that is not open when nothing is there.
KP_EXPORT FileDescriptor openIfThere(const Where& where, int flags);
KP_EXPORT FileDescriptor openDirectory(const Where& where);
/// Creates the file; hands back a descriptor that is not open when the name is taken.
KP_EXPORT FileDescriptor createIfAbsent(const Where& where, int flags, mode_t mode);

/// @}
/// @name Open files
/// @{

/// Reads up to `size` bytes at `offset`; fewer only at the end of the file.
KP_EXPORT std::size_t readAt(const FileDescriptor& file, std::uint64_t offset, void* buffer,
                             std::size_t size);
/// Reads `size` bytes at `offset`; throws when the file ends before.
KP_EXPORT void readExactly(const FileDescriptor& file, std::uint64_t offset, void* buffer, std::size_t size);
/// Reads on in what need not be seekable; fewer than `size` bytes only at its end.
KP_EXPORT std::size_t read(const FileDescriptor& file, char* buffer, std::size_t size);
/// Reads on to the end, whatever the size is said to be.
KP_EXPORT std::string readAll(const FileDescriptor& file);
/// Writes all bytes at `offset`.
KP_EXPORT void writeAt(const FileDescriptor& file, std::uint64_t offset, std::string_view bytes);
/// Writes on to what need not be seekable.
KP_EXPORT void write(const FileDescriptor& file, std::string_view bytes);
/// Copies `size` bytes between files, inside the system where it can. Throws when the source ends early.
KP_EXPORT void copy(const FileDescriptor& from, std::uint64_t fromOffset, const FileDescriptor& to,
                    std::uint64_t toOffset, std::uint64_t size);
KP_EXPORT void truncate(const FileDescriptor& file, std::uint64_t size);
KP_EXPORT void sync(const FileDescriptor& file);
KP_EXPORT struct stat status(const FileDescriptor& file);

/// Waits for the exclusive advisory lock of the open file; an interruption (see HUTInterrupt) ends that.
KP_EXPORT void lock(const FileDescriptor& file);
/// Takes the exclusive advisory lock unless somebody else holds it.
KP_EXPORT bool tryLock(const FileDescriptor& file);

KP_EXPORT void setMode(const FileDescriptor& file, mode_t mode);
/// Sets the modification time, and the access time to now.
KP_EXPORT void setModified(const FileDescriptor& file, std::time_t modified);
/// Gives the file to an owner and a group as far as this process may; what it may not do is left.
KP_EXPORT void setOwner(const FileDescriptor& file, uid_t owner, gid_t group);
/// How many bytes this process may still write to the file system of the file; the most there can be when it
/// does not tell.
KP_EXPORT std::uint64_t room(const FileDescriptor& file);

/// @}
/// @name Names
/// @{

/// Of what a symbolic link leads to, where links are followed; none when nothing is there.
KP_EXPORT std::optional<struct stat> statusIfThere(const Where& where);
/// The path that a symbolic link holds; empty when `path` is no link or nothing is there.
KP_EXPORT std::string linkTarget(const std::string& path);
/// Where a path that is a symbolic link leads, be it there or not.
KP_EXPORT std::string followLinks(std::string path);
/// The path made absolute by the current directory. Only a relative one asks for that directory.
KP_EXPORT std::string absolute(const std::string& path);
/// The absolute path without ".", ".." and symbolic links; of what does not exist, as far as it exists.
KP_EXPORT std::string canonical(const std::string& path);
/// What the directory holds, in the file system's order, without "." and "..".
KP_EXPORT std::vector<DirectoryItem> list(const Where& where);

KP_EXPORT void rename(const Where& from, const Where& to);
/// As rename of a file, but leaves both as they are and returns false when `to` exists.
KP_EXPORT bool renameNoReplace(const Where& from, const Where& to);
/// Moves a directory with all that it holds; returns false, and nothing moved, when `to` is taken.
KP_EXPORT bool moveDirectory(const Where& from, const Where& to);
/// Makes the names in a directory outlast a power failure.
KP_EXPORT void syncDirectory(const Where& where);
/// Removes a file; quiet when nothing is there.
KP_EXPORT void remove(const Where& where);
/// Removes what is there with all below it, as far as that can be done, also while work is called off.
/// Symbolic links are removed and not followed.
KP_EXPORT void removeTree(const Where& where) noexcept;

/// Returns false when the name is taken.
KP_EXPORT bool makeDirectory(const Where& where, mode_t mode);
/// Makes a directory, and those above it with the usual mode, where they are missing.
KP_EXPORT void makeDirectories(const std::string& path, mode_t mode = 0777);
/// Whether this is a directory in which this process may make files.
KP_EXPORT bool isWritable(const Where& where);
/// Throws unless it is.
KP_EXPORT void requireWritable(const std::string& directory);

/// @}

}  // namespace disk
