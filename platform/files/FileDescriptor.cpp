#include "platform/files/FileDescriptor.h"

#include <unistd.h>

namespace disk {

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

}  // namespace disk
