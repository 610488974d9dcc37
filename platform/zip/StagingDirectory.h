#pragma once

#include "platform/files/Unfinished.h"

#include <string>

/// A directory below a destination, for files that are to move into place once all are complete. It goes with
/// all that it holds at the end of the scope. Its name is twelve hexadecimal digits and ".kp-incomplete".
class StagingDirectory {
public:
    /// The destination must exist.
    explicit StagingDirectory(const std::string& destination);

    /// Where to make the files; nobody else gets there.
    const disk::FileDescriptor& top() const { return top_; }
    /// The permission bits that what is created there can get.
    mode_t creatableBits() const { return creatableBits_; }

private:
    Unfinished directory_;
    disk::FileDescriptor top_;
    mode_t creatableBits_ = 0;
};
