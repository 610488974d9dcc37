#pragma once

#include "platform/files/Disk.h"
#include "platform/files/HUTFileUtils.h"

#include <optional>
#include <string>

/// A directory below a destination, for files that are to move into place once all are complete. It goes with
/// all that it holds at the end of the scope. Its name ends in ".kp-incomplete", and it is locked while this
/// lives: one of such a random name that is found unlocked was left by a process that was killed, and goes
/// when the next one for the same destination is created.
class StagingDirectory {
public:
    /// The destination must exist.
    explicit StagingDirectory(const std::string& destination);

    /// Where to make the files; nobody else gets there.
    const disk::FileDescriptor& top() const { return top_; }
    /// The permission bits that what is created there can get.
    mode_t creatableBits() const { return creatableBits_; }

private:
    bool isLocked();

    std::optional<ScratchDirectory> directory_;
    disk::FileDescriptor lock_;
    disk::FileDescriptor top_;
    mode_t creatableBits_ = 0;
};
