#include "platform/base/Exceptions.h"
#include "platform/files/Disk.h"
#include "platform/files/DiskCalls.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <climits>
#include <dirent.h>
#include <stdio.h>
#include <unistd.h>

namespace disk {
namespace {

int linkFlag(const Where& where) {
    return where.followsLinks() ? 0 : AT_SYMLINK_NOFOLLOW;
}

DirectoryItem::Kind kindOf(mode_t type) {
    switch (type) {
        case S_IFREG:
            return DirectoryItem::Kind::File;
        case S_IFDIR:
            return DirectoryItem::Kind::Directory;
        case S_IFLNK:
            return DirectoryItem::Kind::Link;
        default:
            return DirectoryItem::Kind::Other;
    }
}

/// Not every file system tells a listing what it lists.
DirectoryItem::Kind kindOf(const dirent& item, DIR* directory, const Where& where) {
    if (item.d_type != DT_UNKNOWN) return kindOf(DTTOIF(item.d_type));
    struct stat status {};
    const auto inspect = [&] {
        return ::fstatat(::dirfd(directory), item.d_name, &status, AT_SYMLINK_NOFOLLOW);
    };
    if (attempt("inspect", where, inspect) < 0 && !isNothingThere()) fail("inspect", where);
    return kindOf(status.st_mode & S_IFMT);
}

/// A text that a system call allocates; none when it fails.
template <class SystemCall>
std::optional<std::string> textOf(std::string_view call, const Where& where, SystemCall systemCall) {
    std::unique_ptr<char, void (*)(void*)> text(nullptr, &std::free);
    const auto fetch = [&] {
        text.reset(systemCall());
        return text ? 0 : -1;
    };
    if (attempt(call, where, fetch) < 0) return {};
    return text.get();
}

int accessOf(const Where& where) {
    const std::string inside = where.name() + std::string("/.");  // only a directory has that
    return ::faccessat(where.directory(), inside.c_str(), W_OK | X_OK, AT_EACCESS);
}

}  // namespace

std::optional<struct stat> statusIfThere(const Where& where) {
    struct stat status {};
    const auto inspect = [&] { return ::fstatat(where.directory(), where.name(), &status, linkFlag(where)); };
    if (attempt("inspect", where, inspect) == 0) return status;
    if (!isNothingThere()) fail("inspect", where);
    return {};
}

std::string linkTarget(const std::string& path) {
    std::string target(PATH_MAX, '\0');
    const ssize_t length =
        attempt("inspect", path, [&] { return ::readlink(path.c_str(), target.data(), target.size()); });
    if (length < 0 && errno != EINVAL && !isNothingThere()) fail("inspect", path);
    target.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return target;
}

std::string followLinks(std::string path) {
    constexpr int maximumLinks = 40;
    for (int links = 0; links < maximumLinks; ++links) {
        const std::string target = linkTarget(path);
        if (target.empty()) return path;
        path = target.starts_with('/') ? target : HUTPathUtils::join(HUTPathUtils::parent(path), target);
    }
    throw HEXAlgException(HUTPathUtils::quoted(path) +
                          " is a symbolic link that leads through too many others");
}

std::string absolute(const std::string& path) {
    if (path.starts_with('/')) return path;
    const auto directory = textOf("inspect", path, [] { return ::getcwd(nullptr, 0); });
    if (!directory) fail("resolve", path);
    return HUTPathUtils::join(*directory, path);
}

std::string canonical(const std::string& path) {
    std::string whole = absolute(path);
    if (whole.size() >= PATH_MAX) return whole;
    if (const auto found = textOf("resolve", whole, [&] { return ::realpath(whole.c_str(), nullptr); }))
        return *found;
    const std::string_view last = HUTPathUtils::lastComponent(whole);
    if (!isNothingThere() || last == "/") fail("resolve", whole);
    std::string above = canonical(HUTPathUtils::parent(whole));
    if (last == "..") return HUTPathUtils::parent(above);
    return last == "." ? above : HUTPathUtils::join(above, last);
}

std::vector<DirectoryItem> list(const Where& where) {
    FileDescriptor directory = openDirectory(where);
    const std::unique_ptr<DIR, int (*)(DIR*)> handle(::fdopendir(directory.number()), &::closedir);
    if (!handle) fail("list", where);
    directory.release();
    std::vector<DirectoryItem> items;
    const dirent* item = nullptr;
    const auto next = [&] {
        errno = 0;
        item = ::readdir(handle.get());
        return item == nullptr && errno != 0 ? -1 : 0;
    };
    while (require("list", where, next) == 0 && item != nullptr) {
        const std::string_view name = item->d_name;
        if (name != "." && name != "..")
            items.push_back({std::string(name), kindOf(*item, handle.get(), where)});
    }
    return items;
}

void rename(const Where& from, const Where& to) {
    require("rename", from,
            [&] { return ::renameat(from.directory(), from.name(), to.directory(), to.name()); });
}

bool renameNoReplace(const Where& from, const Where& to) {
    const auto byRename = [&] {
        return ::renameat2(from.directory(), from.name(), to.directory(), to.name(), RENAME_NOREPLACE);
    };
    if (attempt("rename", from, byRename) == 0) return true;
    if (errno == EEXIST) return false;
    if (!isUnsupported()) fail("rename", from);

    const auto byLink = [&] { return ::linkat(from.directory(), from.name(), to.directory(), to.name(), 0); };
    if (attempt("rename", from, byLink) < 0) {
        if (errno == EEXIST) return false;
        fail("rename", from);
    }
    remove(from);
    return true;
}

bool moveDirectory(const Where& from, const Where& to) {
    const auto moveWith = [&](unsigned flags) {
        return attempt("rename", from, [&] {
            return ::renameat2(from.directory(), from.name(), to.directory(), to.name(), flags);
        });
    };
    int result = moveWith(RENAME_NOREPLACE);
    // Without that ability a directory still replaces nothing but an empty directory.
    if (result < 0 && isUnsupported()) result = moveWith(0);
    const bool isTaken = errno == EEXIST || errno == ENOTEMPTY || errno == ENOTDIR || errno == EBUSY;
    if (result < 0 && !isTaken) fail("rename", from);
    return result == 0;
}

void syncDirectory(const Where& where) {
    sync(openDirectory(where));
}

void remove(const Where& where) {
    const auto unlink = [&] { return ::unlinkat(where.directory(), where.name(), 0); };
    if (attempt("remove", where, unlink) < 0 && !isNothingThere()) fail("remove", where);
}

void removeTree(const Where& where) noexcept {
    try {
        const auto unlink = [&](int flags) {
            return attempt("remove", where,
                           [&] { return ::unlinkat(where.directory(), where.name(), flags); });
        };
        if (unlink(0) == 0 || errno != EISDIR) return;
        const FileDescriptor directory = open(where, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
        for (const DirectoryItem& item : list({directory, "."}))
            removeTree({directory, item.name});
        unlink(AT_REMOVEDIR);
    } catch (const std::exception&) {
        // All else can still go.
    }
}

bool makeDirectory(const Where& where, mode_t mode) {
    const auto make = [&] { return ::mkdirat(where.directory(), where.name(), mode); };
    const int result = attempt("create directory", where, make);
    if (result < 0 && errno != EEXIST) fail("create directory", where);
    return result == 0;
}

void makeDirectories(const std::string& path, mode_t mode) {
    constexpr mode_t usualMode = 0777;
    const auto make = [&] { return ::mkdir(path.c_str(), mode); };
    int result = attempt("create directory", path, make);
    if (result < 0 && errno == ENOENT && HUTPathUtils::parent(path) != path) {
        makeDirectories(HUTPathUtils::parent(path), usualMode);
        result = attempt("create directory", path, make);
    }
    if (result == 0) return;
    const int reason = errno;
    const std::optional<struct stat> present = statusIfThere(path);
    if (present && S_ISDIR(present->st_mode)) return;
    errno = reason;
    fail("create directory", path);
}

bool isWritable(const Where& where) {
    return attempt("inspect", where, [&] { return accessOf(where); }) == 0;
}

void requireWritable(const std::string& directory) {
    require("write to", directory, [&] { return accessOf(directory); });
}

}  // namespace disk
