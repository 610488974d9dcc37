#include "platform/files/Disk.h"

#include "platform/base/HUTInterrupt.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>
#include <system_error>
#include <thread>

#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace disk {
namespace {

const DiskFaults::Decide* faults = nullptr;

bool isInjected(std::string_view call, const std::string& path) {
    if (faults == nullptr) [[likely]]
        return false;
    errno = (*faults)(call, path);
    return errno != 0;
}

/// The result of a system call, which is negative when it failed; made again when a signal interrupted it.
template <class SystemCall>
auto attempt(std::string_view call, const std::string& path, SystemCall systemCall) {
    for (;;) {
        const auto result = isInjected(call, path) ? decltype(systemCall()){-1} : systemCall();
        if (result >= 0 || errno != EINTR) return result;
    }
}

/// A system call that may wait for others, such as for who writes to a pipe: calling work off ends that.
template <class SystemCall>
auto waiting(SystemCall systemCall) {
    return [systemCall, isRepeated = false]() mutable {
        if (std::exchange(isRepeated, true)) HUTInterrupt::check();
        return systemCall();
    };
}

[[noreturn]] void fail(std::string_view call, const std::string& path) {
    throw Failure("Failed to " + std::string(call) + " '" + path + "'",
                  std::generic_category().message(errno));
}

template <class SystemCall>
auto require(std::string_view call, const std::string& path, SystemCall systemCall) {
    const auto result = attempt(call, path, systemCall);
    if (result < 0) fail(call, path);
    return result;
}

/// Reads, with what reads after the bytes that are there already, until there are `size` bytes or no more
/// come.
template <class ReadAfter>
std::size_t fill(const FileDescriptor& file, std::size_t size, ReadAfter readAfter) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got = require("read", file.path(), waiting([&] { return readAfter(done); }));
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

int openNumber(const std::string& path, int flags, mode_t mode) {
    return attempt("open", path, waiting([&] { return ::open(path.c_str(), flags | O_CLOEXEC, mode); }));
}

std::string inside(const FileDescriptor& directory, const std::string& name) {
    return directory.path() + "/" + name;
}

bool isNothingThere() {
    return errno == ENOENT || errno == ENOTDIR;
}

bool isUnsupported() {
    return errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP || errno == EBADF;
}

/// Copies one stretch inside the system; 0 at the source's end, negative where the file systems cannot.
ssize_t copyInside(const FileDescriptor& from, std::uint64_t fromOffset, const FileDescriptor& to,
                   std::uint64_t toOffset, std::uint64_t size) {
    const std::size_t stretch = std::min<std::uint64_t>(size, std::uint64_t{1} << 30);
    return attempt("write", to.path(), [&] {
        auto in = static_cast<loff_t>(fromOffset);
        auto out = static_cast<loff_t>(toOffset);
        return ::copy_file_range(from.number(), &in, to.number(), &out, stretch, 0);
    });
}

[[noreturn]] void failCutShort(const FileDescriptor& file) {
    throw HEXAlgException("'" + file.path() + "' became shorter while it was read");
}

void copyThroughMemory(const FileDescriptor& from, std::uint64_t fromOffset, const FileDescriptor& to,
                       std::uint64_t toOffset, std::uint64_t size) {
    constexpr std::size_t bufferSize = std::size_t{1} << 20;
    const auto buffer = std::make_unique_for_overwrite<char[]>(bufferSize);
    while (size > 0) {
        const std::size_t got =
            readAt(from, fromOffset, buffer.get(), std::min<std::uint64_t>(size, bufferSize));
        if (got == 0) failCutShort(from);
        writeAt(to, toOffset, {buffer.get(), got});
        fromOffset += got;
        toOffset += got;
        size -= got;
    }
}

}  // namespace

Failure::~Failure() = default;

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : number_(std::exchange(other.number_, -1)), path_(std::move(other.path_)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    std::swap(path_, other.path_);
    return *this;
}

void FileDescriptor::close() noexcept {
    if (isOpen()) ::close(std::exchange(number_, -1));
}

FileDescriptor open(const std::string& path, int flags, mode_t mode) {
    const int number = openNumber(path, flags, mode);
    if (number < 0) fail("open", path);
    return {number, path};
}

FileDescriptor openIfThere(const std::string& path, int flags) {
    const int number = openNumber(path, flags, 0);
    if (number < 0 && !isNothingThere()) fail("open", path);
    return {number, path};
}

FileDescriptor createIfAbsent(const std::string& path, int flags, mode_t mode) {
    const int number = openNumber(path, flags | O_CREAT | O_EXCL, mode);
    if (number < 0 && errno != EEXIST) fail("open", path);
    return {number, path};
}

std::size_t readAt(const FileDescriptor& file, std::uint64_t offset, void* buffer, std::size_t size) {
    return fill(file, size, [&](std::size_t done) {
        return ::pread(file.number(), static_cast<char*>(buffer) + done, size - done,
                       static_cast<off_t>(offset + done));
    });
}

std::size_t read(const FileDescriptor& file, char* buffer, std::size_t size) {
    return fill(file, size,
                [&](std::size_t done) { return ::read(file.number(), buffer + done, size - done); });
}

std::string readAll(const FileDescriptor& file) {
    std::string bytes;
    for (;;) {
        constexpr std::size_t spare = 4096;
        const auto size = static_cast<std::size_t>(status(file).st_size);
        const std::size_t had = bytes.size();
        bytes.resize(std::max(had, size) + spare);
        bytes.resize(had + read(file, bytes.data() + had, bytes.size() - had));
        if (bytes.size() < std::max(had, size) + spare) return bytes;
    }
}

void writeAt(const FileDescriptor& file, std::uint64_t offset, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t put = require("write", file.path(), [&] {
            return ::pwrite(file.number(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
        });
        offset += static_cast<std::uint64_t>(put);
        bytes.remove_prefix(static_cast<std::size_t>(put));
    }
}

void copy(const FileDescriptor& from, std::uint64_t fromOffset, const FileDescriptor& to,
          std::uint64_t toOffset, std::uint64_t size) {
    while (size > 0) {
        const ssize_t copied = copyInside(from, fromOffset, to, toOffset, size);
        if (copied < 0 && isUnsupported()) return copyThroughMemory(from, fromOffset, to, toOffset, size);
        if (copied < 0) fail("write", to.path());
        if (copied == 0) failCutShort(from);
        const auto step = static_cast<std::uint64_t>(copied);
        fromOffset += step;
        toOffset += step;
        size -= step;
    }
}

void truncate(const FileDescriptor& file, std::uint64_t size) {
    require("truncate", file.path(), [&] { return ::ftruncate(file.number(), static_cast<off_t>(size)); });
}

void sync(const FileDescriptor& file) {
    require("sync", file.path(), [&] { return ::fsync(file.number()); });
}

void syncDirectory(const std::string& path) {
    sync(open(path, O_RDONLY | O_DIRECTORY));
}

struct stat status(const FileDescriptor& file) {
    struct stat result {};
    require("inspect", file.path(), [&] { return ::fstat(file.number(), &result); });
    return result;
}

bool statusIfThere(const std::string& path, struct stat& status) {
    if (attempt("inspect", path, [&] { return ::stat(path.c_str(), &status); }) == 0) return true;
    if (!isNothingThere()) fail("inspect", path);
    return false;
}

std::string linkTarget(const std::string& path) {
    std::string target(PATH_MAX, '\0');
    const ssize_t length =
        attempt("inspect", path, [&] { return ::readlink(path.c_str(), target.data(), target.size()); });
    if (length < 0 && errno != EINVAL && !isNothingThere()) fail("inspect", path);
    target.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return target;
}

std::vector<DirectoryItem> list(const std::string& directory) {
    HUTInterrupt::check();  // walking a tree takes time
    std::unique_ptr<DIR, int (*)(DIR*)> handle(nullptr, &::closedir);
    require("list", directory, [&] {
        handle.reset(::opendir(directory.c_str()));
        return handle ? 0 : -1;
    });
    std::vector<DirectoryItem> items;
    errno = 0;
    while (const dirent* item = ::readdir(handle.get())) {
        const std::string_view name = item->d_name;
        if (name != "." && name != "..") items.push_back({std::string(name), item->d_type});
        errno = 0;
    }
    if (errno != 0) fail("list", directory);
    return items;
}

void lock(const FileDescriptor& file) {
    using namespace std::chrono_literals;
    for (auto pause = 1ms; !tryLock(file); pause = std::min(pause * 2, 16ms)) {
        HUTInterrupt::check();
        std::this_thread::sleep_for(pause);
    }
}

bool tryLock(const FileDescriptor& file) {
    const int result =
        attempt("lock", file.path(), [&] { return ::flock(file.number(), LOCK_EX | LOCK_NB); });
    if (result < 0 && errno != EWOULDBLOCK) fail("lock", file.path());
    return result == 0;
}

void setMode(const FileDescriptor& file, mode_t mode) {
    require("change the mode of", file.path(), [&] { return ::fchmod(file.number(), mode); });
}

void setModified(const FileDescriptor& file, std::time_t modified) {
    const timespec times[] = {{0, UTIME_NOW}, {modified, 0}};
    require("change the time of", file.path(), [&] { return ::futimens(file.number(), times); });
}

void setOwner(const FileDescriptor& file, uid_t owner, gid_t group) {
    constexpr auto unchanged = static_cast<uid_t>(-1);
    for (const uid_t user : {owner, unchanged}) {
        const auto change = [&] { return ::fchown(file.number(), user, group); };
        if (attempt("change the owner of", file.path(), change) == 0) return;
        if (errno != EPERM) fail("change the owner of", file.path());
    }
}

void rename(const std::string& from, const std::string& to) {
    require("rename", from, [&] { return ::rename(from.c_str(), to.c_str()); });
}

bool renameNoReplace(const std::string& from, const std::string& to) {
    const auto byRename = [&] {
        return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE);
    };
    if (attempt("rename", from, byRename) == 0) return true;
    if (errno == EEXIST) return false;
    if (!isUnsupported()) fail("rename", from);

    if (attempt("rename", from, [&] { return ::link(from.c_str(), to.c_str()); }) < 0) {
        if (errno == EEXIST) return false;
        fail("rename", from);
    }
    remove(from);
    return true;
}

void remove(const std::string& path) {
    if (attempt("remove", path, [&] { return ::unlink(path.c_str()); }) < 0 && !isNothingThere())
        fail("remove", path);
}

bool makeDirectory(const std::string& path, mode_t mode) {
    const int result = attempt("create directory", path, [&] { return ::mkdir(path.c_str(), mode); });
    if (result < 0 && errno != EEXIST) fail("create directory", path);
    return result == 0;
}

FileDescriptor openDirectory(const FileDescriptor& directory, const std::string& name) {
    std::string path = inside(directory, name);
    const int number = require("open", path, [&] {
        return ::openat(directory.number(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    });
    return {number, std::move(path)};
}

FileDescriptor createIfAbsent(const FileDescriptor& directory, const std::string& name, mode_t mode) {
    std::string path = inside(directory, name);
    const int number = attempt("open", path, [&] {
        return ::openat(directory.number(), name.c_str(),
                        O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
    });
    if (number < 0 && errno != EEXIST) fail("open", path);
    return {number, std::move(path)};
}

bool makeDirectory(const FileDescriptor& directory, const std::string& name, mode_t mode) {
    const std::string path = inside(directory, name);
    const int result =
        attempt("create directory", path, [&] { return ::mkdirat(directory.number(), name.c_str(), mode); });
    if (result < 0 && errno != EEXIST) fail("create directory", path);
    return result == 0;
}

bool statusIfThere(const FileDescriptor& directory, const std::string& name, struct stat& status) {
    const std::string path = inside(directory, name);
    const auto inspect = [&] {
        return ::fstatat(directory.number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW);
    };
    if (attempt("inspect", path, inspect) == 0) return true;
    if (!isNothingThere()) fail("inspect", path);
    return false;
}

void requireWritable(const std::string& directory) {
    require("write to", directory,
            [&] { return ::faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS); });
}

bool isWritable(const FileDescriptor& directory) {
    const auto ask = [&] { return ::faccessat(directory.number(), ".", W_OK | X_OK, 0); };
    return attempt("inspect", directory.path(), ask) == 0;
}

std::uint64_t room(const FileDescriptor& directory) {
    struct statvfs system {};
    require("inspect", directory.path(), [&] { return ::fstatvfs(directory.number(), &system); });
    return system.f_blocks == 0 ? UINT64_MAX : std::uint64_t{system.f_bavail} * system.f_frsize;
}

void moveFile(const FileDescriptor& from, const std::string& name, const FileDescriptor& to) {
    require("rename", inside(from, name),
            [&] { return ::renameat(from.number(), name.c_str(), to.number(), name.c_str()); });
}

bool moveDirectory(const FileDescriptor& from, const std::string& name, const FileDescriptor& to) {
    const std::string path = inside(from, name);
    const auto moveWith = [&](unsigned flags) {
        return attempt("rename", path, [&] {
            return ::renameat2(from.number(), name.c_str(), to.number(), name.c_str(), flags);
        });
    };
    int result = moveWith(RENAME_NOREPLACE);
    // Without that ability a directory still replaces nothing but an empty directory.
    if (result < 0 && isUnsupported()) result = moveWith(0);
    const bool isTaken = errno == EEXIST || errno == ENOTEMPTY || errno == ENOTDIR || errno == EBUSY;
    if (result < 0 && !isTaken) fail("rename", path);
    return result == 0;
}

DiskFaults::DiskFaults(Decide decide) : decide_(std::move(decide)) {
    faults = &decide_;
}

DiskFaults::~DiskFaults() {
    faults = nullptr;
}

}  // namespace disk
