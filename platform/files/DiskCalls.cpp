#include "platform/files/DiskCalls.h"

#include "platform/files/DiskFailure.h"
#include "platform/files/DiskFaults.h"
#include "platform/files/HUTPathUtils.h"

#include <system_error>

#include <climits>
#include <unistd.h>

namespace disk {

bool isRefused(std::string_view call, const Where& where) {
    if (!where.isPossible()) {
        errno = ENOENT;
        return true;
    }
    DiskFaults* const faults = DiskFaults::current();
    if (faults == nullptr) [[likely]]
        return false;
    errno = faults->errorOf(call, where.path());
    return errno != 0;
}

void fail(std::string_view call, const Where& where) {
    const std::string path = where.path();
    std::string reason = std::generic_category().message(errno);
    std::string directory(PATH_MAX, '\0');
    const bool isRelativeToNothing = errno == ENOENT && !path.starts_with('/') &&
                                     ::getcwd(directory.data(), directory.size()) == nullptr &&
                                     errno == ENOENT;
    if (isRelativeToNothing) reason = "the current directory is gone";
    throw Failure("Failed to " + std::string(call) + " " + HUTPathUtils::quoted(path), reason);
}

}  // namespace disk
