#pragma once

#include "platform/files/Disk.h"

#include <string>

/// A file that is written beside the one it is to become, under a name of its own. It is removed at the end
/// of the scope unless it was put in place, and locked while this lives: one that is found unlocked was left
/// by a process that was killed, and goes when the next one for the same path is created.
class PendingFile {
public:
    /// Created with these permission bits, as far as the process's mask lets it.
    PendingFile(const std::string& destination, mode_t mode);
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    const disk::FileDescriptor& file() const { return file_; }
    /// Puts the file in place of what is there.
    void replace();
    /// Puts the file in place unless something is there; then returns false.
    bool place();

private:
    bool create(const std::string& path, mode_t mode);

    std::string destination_;
    disk::FileDescriptor file_;
    bool isInPlace_ = false;
};
