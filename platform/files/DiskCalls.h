#pragma once

#include "platform/files/FileDescriptor.h"

#include <cerrno>
#include <string_view>

/// How each call on the disk is made, so that every one can be made to fail.
namespace disk {

/// Whether the call must not be made; then errno says why.
bool isRefused(std::string_view call, const Where& where);
/// Throws for errno.
[[noreturn]] void fail(std::string_view call, const Where& where);

/// Whether errno says that nothing is at a path.
inline bool isNothingThere() {
    return errno == ENOENT || errno == ENOTDIR || errno == ELOOP || errno == ENAMETOOLONG;
}

/// Whether errno says that the file system has no such call.
inline bool isUnsupported() {
    return errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP || errno == EBADF;
}

/// The result of a system call, which is negative when it failed; made again when a signal interrupted it.
template <class SystemCall>
auto attempt(std::string_view call, const Where& where, SystemCall systemCall) {
    for (;;) {
        const auto result = isRefused(call, where) ? decltype(systemCall()){-1} : systemCall();
        if (result >= 0 || errno != EINTR) return result;
    }
}

template <class SystemCall>
auto require(std::string_view call, const Where& where, SystemCall systemCall) {
    const auto result = attempt(call, where, systemCall);
    if (result < 0) fail(call, where);
    return result;
}

}  // namespace disk
