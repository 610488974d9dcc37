#pragma once

#include "platform/files/Unfinished.h"

#include <optional>
#include <string>

/// A file that is written beside the one it is to become, and then put in its place. What a killed process
/// leaves of it is a file named ".NAME.kp-" and twelve hexadecimal digits.
class PendingFile {
public:
    /// As `replaced`, the file that is there, has it, are the owner, as far as this process may set it, and
    /// the permission bits.
    PendingFile(const std::string& destination, const std::optional<struct stat>& replaced);

    /// Messages name it by its destination.
    const disk::FileDescriptor& file() const { return unfinished_.file(); }
    /// Puts the file in place of what is there. It is to be synced before. When only making that outlast a
    /// power failure fails, a message tells.
    void replace();
    /// Puts the file in place unless something is there; then returns false.
    bool place();

private:
    void makeDurable() const;

    std::string destination_;
    Unfinished unfinished_;
};
