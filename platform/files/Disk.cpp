#include "platform/files/Disk.h"

#include "platform/base/Exceptions.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/DiskCalls.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <span>
#include <thread>

#include <sys/file.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace disk {
namespace {

/// A system call that may wait for others, such as for who writes to a pipe: calling work off ends that.
template <class SystemCall>
auto waiting(SystemCall systemCall) {
    return [systemCall, isRepeated = false]() mutable {
        if (std::exchange(isRepeated, true)) HUTInterrupt::check();
        return systemCall();
    };
}

int openNumber(const Where& where, int flags, mode_t mode) {
    const int all = flags | O_CLOEXEC | (where.followsLinks() ? 0 : O_NOFOLLOW);
    return attempt("open", where,
                   waiting([&] { return ::openat(where.directory(), where.name(), all, mode); }));
}

/// Fills the buffer, with what reads into the rest of it, until it is full or no more comes. Tells how much
/// came.
template <class ReadInto>
std::size_t fill(const FileDescriptor& file, std::span<char> buffer, ReadInto readInto) {
    std::span<char> rest = buffer;
    while (!rest.empty()) {
        const ssize_t got = require("read", file.path(), waiting([&] { return readInto(rest); }));
        if (got == 0) break;
        rest = rest.subspan(static_cast<std::size_t>(got));
    }
    return buffer.size() - rest.size();
}

/// Writes, with what writes some of the rest, until all is written.
template <class WriteOf>
void drain(const FileDescriptor& file, std::string_view rest, WriteOf writeOf) {
    while (!rest.empty()) {
        const ssize_t written = require("write", file.path(), waiting([&] { return writeOf(rest); }));
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

[[noreturn]] void failCutShort(const FileDescriptor& file) {
    throw HEXAlgException(HUTPathUtils::quoted(file.path()) + " became shorter while it was read");
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

void copyThroughMemory(const FileDescriptor& from, std::uint64_t fromOffset, const FileDescriptor& to,
                       std::uint64_t toOffset, std::uint64_t size) {
    constexpr std::uint64_t bufferSize = std::uint64_t{1} << 20;
    const auto buffer = std::make_unique_for_overwrite<char[]>(bufferSize);
    for (std::uint64_t done = 0; done < size;) {
        const std::size_t step = std::min(size - done, bufferSize);
        readExactly(from, fromOffset + done, buffer.get(), step);
        writeAt(to, toOffset + done, {buffer.get(), step});
        done += step;
    }
}

}  // namespace

FileDescriptor open(const Where& where, int flags, mode_t mode) {
    const int number = openNumber(where, flags, mode);
    if (number < 0) fail("open", where);
    return {number, where.path()};
}

FileDescriptor openIfThere(const Where& where, int flags) {
    const int number = openNumber(where, flags, 0);
    if (number < 0 && !isNothingThere()) fail("open", where);
    return {number, where.path()};
}

FileDescriptor openDirectory(const Where& where) {
    return open(where, O_RDONLY | O_DIRECTORY);
}

FileDescriptor createIfAbsent(const Where& where, int flags, mode_t mode) {
    const int number = openNumber(where, flags | O_CREAT | O_EXCL, mode);
    if (number < 0 && errno != EEXIST) fail("open", where);
    return {number, where.path()};
}

std::size_t readAt(const FileDescriptor& file, std::uint64_t offset, void* buffer, std::size_t size) {
    const std::uint64_t end = offset + size;
    return fill(file, {static_cast<char*>(buffer), size}, [&](std::span<char> rest) {
        return ::pread(file.number(), rest.data(), rest.size(), static_cast<off_t>(end - rest.size()));
    });
}

void readExactly(const FileDescriptor& file, std::uint64_t offset, void* buffer, std::size_t size) {
    if (readAt(file, offset, buffer, size) != size) failCutShort(file);
}

std::size_t read(const FileDescriptor& file, char* buffer, std::size_t size) {
    return fill(file, {buffer, size},
                [&](std::span<char> rest) { return ::read(file.number(), rest.data(), rest.size()); });
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
    const std::uint64_t end = offset + bytes.size();
    drain(file, bytes, [&](std::string_view rest) {
        return ::pwrite(file.number(), rest.data(), rest.size(), static_cast<off_t>(end - rest.size()));
    });
}

void write(const FileDescriptor& file, std::string_view bytes) {
    drain(file, bytes,
          [&](std::string_view rest) { return ::write(file.number(), rest.data(), rest.size()); });
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

struct stat status(const FileDescriptor& file) {
    struct stat result {};
    require("inspect", file.path(), [&] { return ::fstat(file.number(), &result); });
    return result;
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

std::uint64_t room(const FileDescriptor& file) {
    struct statvfs system {};
    require("inspect", file.path(), [&] { return ::fstatvfs(file.number(), &system); });
    return system.f_blocks == 0 ? UINT64_MAX : std::uint64_t{system.f_bavail} * system.f_frsize;
}

}  // namespace disk
