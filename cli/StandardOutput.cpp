#include "cli/StandardOutput.h"

#include "platform/base/HUTInterrupt.h"

#include <cerrno>
#include <iostream>

#include <unistd.h>

namespace cli {

StandardOutput::StandardOutput() : before_(std::cout.rdbuf(this)) {
    setp(buffer_.data(), buffer_.data() + buffer_.size());
}

StandardOutput::~StandardOutput() {
    sync();
    std::cout.rdbuf(before_);
}

bool StandardOutput::isClosed() const {
    return error_ == EPIPE;
}

int StandardOutput::sync() {
    for (const char* unwritten = pbase(); error_ == 0 && unwritten < pptr();) {
        const ssize_t put = ::write(STDOUT_FILENO, unwritten, static_cast<std::size_t>(pptr() - unwritten));
        if (put > 0) unwritten += put;
        if (put < 0 && errno != EINTR) error_ = errno;
        if (unwritten < pptr() && HUTInterrupt::isRequested()) error_ = EINTR;
    }
    setp(buffer_.data(), buffer_.data() + buffer_.size());
    return error_ == 0 ? 0 : -1;
}

StandardOutput::int_type StandardOutput::overflow(int_type character) {
    if (sync() != 0) return traits_type::eof();
    return traits_type::eq_int_type(character, traits_type::eof())
               ? traits_type::not_eof(character)
               : sputc(traits_type::to_char_type(character));
}

}  // namespace cli
