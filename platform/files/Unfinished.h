#pragma once

#include "platform/files/Disk.h"
#include "platform/files/UniqueNames.h"

#include <string>

/// A file or a directory that is made under a name of its own, until it is complete and gets its place. It is
/// removed with all that it holds at the end of the scope unless it was moved there, and locked while this
/// lives: one that is found unlocked was left by a process that was killed, and goes when the next one of
/// such a name is made in the directory. Where nothing can be locked nothing is ever taken for left.
class Unfinished {
public:
    using Kind = disk::DirectoryItem::Kind;

    /// Makes a file, open for reading and writing, or a directory, with these permission bits as far as the
    /// process's mask lets it.
    Unfinished(Kind kind, const std::string& directory, const UniqueNames& names, mode_t mode);
    ~Unfinished();
    Unfinished(const Unfinished&) = delete;
    Unfinished& operator=(const Unfinished&) = delete;

    /// The file or directory itself.
    const disk::FileDescriptor& file() const { return file_; }
    /// Messages name it by this path from now on.
    void showAs(const std::string& path) { file_.showAs(path); }
    /// Renames it within its directory, in place of what is there.
    void replace(const std::string& name);
    /// Renames it unless something is there; then returns false.
    bool place(const std::string& name);

    /// Makes a change of names in the directory outlast a power failure.
    void syncDirectory() const { disk::syncDirectory({directory_, "."}); }

private:
    Unfinished() = default;
    bool make(Kind kind, const std::string& name, mode_t mode);
    bool isMine() const;
    disk::Where where() const { return {directory_, name_}; }

    disk::FileDescriptor directory_;
    std::string name_;  ///< empty when there is nothing to remove
    disk::FileDescriptor file_;
};
