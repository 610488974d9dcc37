#pragma once

#include "platform/files/Disk.h"

#include <string>

/// The exclusive advisory lock on the archive at a path, for as long as this lives. Waits for it. Nothing is
/// locked where there is no archive.
class ArchiveLock {
public:
    /// Throws as well when this thread holds the lock already, for then it would wait for itself.
    explicit ArchiveLock(const std::string& path);
    ~ArchiveLock();
    ArchiveLock(const ArchiveLock&) = delete;
    ArchiveLock& operator=(const ArchiveLock&) = delete;

    bool isHeld() const { return file_.isOpen(); }
    /// Of the locked file.
    const struct stat& status() const { return status_; }
    /// Whether the path still leads to the locked file.
    bool isInPlace() const;

private:
    disk::FileDescriptor file_;
    struct stat status_ {};
};
