#pragma once

#include <cerrno>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace bare {

/// A file that is read or written in as few calls as can be.
class File {
public:
    File(const std::filesystem::path& path, int flags) : number_(::open(path.c_str(), flags, 0644)) {
        if (number_ < 0) fail("cannot open " + path.string());
    }
    ~File() { ::close(number_); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    void read(std::span<char> bytes) const { transfer(::read, bytes, "cannot read"); }
    void readAt(std::uint64_t offset, std::span<char> bytes) const {
        ::lseek(number_, static_cast<off_t>(offset), SEEK_SET);
        read(bytes);
    }
    void write(std::span<const char> bytes) const { transfer(::write, bytes, "cannot write"); }

private:
    [[noreturn]] static void fail(const std::string& what) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    template <class Call, class Bytes>
    void transfer(Call call, Bytes bytes, const char* failure) const {
        while (!bytes.empty()) {
            const ssize_t done = call(number_, bytes.data(), bytes.size());
            if (done <= 0) fail(failure);
            bytes = bytes.subspan(static_cast<std::size_t>(done));
        }
    }

    int number_;
};

}  // namespace bare
