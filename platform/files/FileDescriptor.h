#pragma once

#include "platform/base/Export.h"

#include <string>
#include <utility>

#include <fcntl.h>

namespace disk {

/// Owns an open descriptor and remembers the path it was opened by, for messages.
class KP_EXPORT FileDescriptor {
public:
    FileDescriptor() = default;
    FileDescriptor(int number, std::string path) : number_(number), path_(std::move(path)) {}
    FileDescriptor(FileDescriptor&& other) noexcept;
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    ~FileDescriptor() { close(); }

    bool isOpen() const { return number_ >= 0; }
    int number() const { return number_; }
    const std::string& path() const { return path_; }
    /// Messages name the file by this path from now on.
    void showAs(const std::string& path) { path_ = path; }
    void close() noexcept;
    /// Leaves the open descriptor to somebody else.
    void release() noexcept { number_ = -1; }

private:
    int number_ = -1;
    std::string path_;
};

/// Where a call finds its file: at a path, or by a name in an open directory, wherever that may be by now. A
/// symbolic link of such a name is not followed. An argument and no more: it refers to what it is made of.
class KP_EXPORT Where {
public:
    Where(const std::string& path) : name_(path) {}
    Where(const FileDescriptor& directory, const std::string& name) : directory_(&directory), name_(name) {}

    int directory() const { return directory_ == nullptr ? AT_FDCWD : directory_->number(); }
    const char* name() const { return name_.c_str(); }
    bool followsLinks() const { return directory_ == nullptr; }
    /// The system would read a name up to a NUL only.
    bool isPossible() const { return name_.find('\0') == std::string::npos; }
    /// For messages.
    std::string path() const {
        if (directory_ == nullptr) return name_;
        return name_ == "." ? directory_->path() : directory_->path() + "/" + name_;
    }

private:
    const FileDescriptor* directory_ = nullptr;
    const std::string& name_;
};

}  // namespace disk
