#pragma once

#include "platform/base/Exceptions.h"
#include "platform/base/Export.h"

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/stat.h>

/// The seam to the operating system: every call that reads or changes the disk goes through here. A call that
/// fails throws Failure, which names the path and the system's reason. Interrupted and short calls
/// are carried on.
namespace disk {

/// A call failed.
class KP_EXPORT Failure : public HEXAlgException {
public:
    /// what() names the call and the path, and ends with the system's reason.
    Failure(const std::string& call, const std::string& reason)
        : HEXAlgException(call + ": " + reason), reason_(reason) {}
    ~Failure() override;

    const std::string& reason() const { return reason_; }

private:
    std::string reason_;
};

/// Owns an open descriptor and remembers the path it was opened by, for messages.
class KP_EXPORT FileDescriptor {
public:
    FileDescriptor() = default;
    FileDescriptor(int number, std::string path) : number_(number), path_(std::move(path)) {}
    FileDescriptor(FileDescriptor&& other) noexcept;
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    ~FileDescriptor() { close(); }

    bool isOpen() const { return number_ >= 0; }
    int number() const { return number_; }
    const std::string& path() const { return path_; }
    /// Messages name the file by this path from now on.
    void showAs(const std::string& path) { path_ = path; }
    void close() noexcept;

private:
    int number_ = -1;
    std::string path_;
};

/// What a directory holds under one name.
struct DirectoryItem {
    std::string name;
    unsigned char type =
        0;  ///< such as DT_REG, DT_DIR, DT_LNK; DT_UNKNOWN where the file system does not tell
};

/// Opens with `flags` as of open(2); close-on-exec is always set.
KP_EXPORT FileDescriptor open(const std::string& path, int flags, mode_t mode = 0666);
/// As open, but hands back a descriptor that is not open when nothing is there.
KP_EXPORT FileDescriptor openIfThere(const std::string& path, int flags);
/// As open with O_CREAT and O_EXCL, but hands back a descriptor that is not open when the path is taken.
KP_EXPORT FileDescriptor createIfAbsent(const std::string& path, int flags, mode_t mode);

/// Reads up to `size` bytes at `offset`; fewer only at the end of the file.
KP_EXPORT std::size_t readAt(const FileDescriptor& file, std::uint64_t offset, void* buffer,
                             std::size_t size);
/// Reads on in what need not be seekable; fewer than `size` bytes only at its end.
KP_EXPORT std::size_t read(const FileDescriptor& file, char* buffer, std::size_t size);
/// Reads on to the end, whatever the size is said to be.
KP_EXPORT std::string readAll(const FileDescriptor& file);
/// Writes all bytes at `offset`.
KP_EXPORT void writeAt(const FileDescriptor& file, std::uint64_t offset, std::string_view bytes);
/// Copies `size` bytes between files, inside the system where it can. Throws when the source ends early.
KP_EXPORT void copy(const FileDescriptor& from, std::uint64_t fromOffset, const FileDescriptor& to,
                    std::uint64_t toOffset, std::uint64_t size);
KP_EXPORT void truncate(const FileDescriptor& file, std::uint64_t size);
KP_EXPORT void sync(const FileDescriptor& file);
KP_EXPORT void syncDirectory(const std::string& path);

KP_EXPORT struct stat status(const FileDescriptor& file);
/// The status of what the path leads to; false when nothing is there.
KP_EXPORT bool statusIfThere(const std::string& path, struct stat& status);
/// The path that a symbolic link holds; empty when `path` is no link or nothing is there.
KP_EXPORT std::string linkTarget(const std::string& path);
/// What the directory holds, in the file system's order, without "." and "..".
KP_EXPORT std::vector<DirectoryItem> list(const std::string& directory);

/// Waits for the exclusive advisory lock of the open file; an interruption (see HUTInterrupt) ends that.
KP_EXPORT void lock(const FileDescriptor& file);
/// Takes the exclusive advisory lock unless somebody else holds it.
KP_EXPORT bool tryLock(const FileDescriptor& file);

KP_EXPORT void setMode(const FileDescriptor& file, mode_t mode);
/// Sets the modification time, and the access time to now.
KP_EXPORT void setModified(const FileDescriptor& file, std::time_t modified);
/// Gives the file to an owner and a group as far as this process may; what it may not do is left.
KP_EXPORT void setOwner(const FileDescriptor& file, uid_t owner, gid_t group);
KP_EXPORT void rename(const std::string& from, const std::string& to);
/// As rename, but leaves both as they are and returns false when `to` exists.
KP_EXPORT bool renameNoReplace(const std::string& from, const std::string& to);
/// Removes a file; quiet when nothing is there.
KP_EXPORT void remove(const std::string& path);
/// Returns false when the path exists already.
KP_EXPORT bool makeDirectory(const std::string& path, mode_t mode);
/// Throws unless this process may make files in the directory.
KP_EXPORT void requireWritable(const std::string& directory);

/// @name By a name in an open directory
/// A symbolic link of the name is not followed.
/// @{

KP_EXPORT FileDescriptor openDirectory(const FileDescriptor& directory, const std::string& name);
/// Creates a file for writing; hands back a descriptor that is not open when the name is taken.
KP_EXPORT FileDescriptor createIfAbsent(const FileDescriptor& directory, const std::string& name,
                                        mode_t mode);
/// Returns false when the name is taken.
KP_EXPORT bool makeDirectory(const FileDescriptor& directory, const std::string& name, mode_t mode);
/// The status of what has the name, be it a symbolic link; false when nothing has.
KP_EXPORT bool statusIfThere(const FileDescriptor& directory, const std::string& name, struct stat& status);
/// Whether this process may make files in the directory.
KP_EXPORT bool isWritable(const FileDescriptor& directory);
/// How many bytes this process may still write to the directory's file system; the most there can be when it
/// does not tell.
KP_EXPORT std::uint64_t room(const FileDescriptor& directory);
/// Moves a file from one directory to another in place of what has its name there.
KP_EXPORT void moveFile(const FileDescriptor& from, const std::string& name, const FileDescriptor& to);
/// Moves a directory with all that it holds; returns false, and nothing moved, when its name is taken there.
KP_EXPORT bool moveDirectory(const FileDescriptor& from, const std::string& name, const FileDescriptor& to);

/// @}

/// While one of these lives, each call on the disk first asks `decide` with the name of the call (such as
/// "write") and the path; a result other than 0 is the error number that the call fails with. For tests; one
/// at a time in a process.
class KP_EXPORT DiskFaults {
public:
    using Decide = std::function<int(std::string_view call, const std::string& path)>;

    explicit DiskFaults(Decide decide);
    ~DiskFaults();
    DiskFaults(const DiskFaults&) = delete;
    DiskFaults& operator=(const DiskFaults&) = delete;

private:
    Decide decide_;
};

}  // namespace disk
