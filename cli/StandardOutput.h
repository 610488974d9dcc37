#pragma once

#include <array>
#include <streambuf>

namespace cli {

/// While it lives, what is written to std::cout goes to standard output through it. Tells why writing failed,
/// and fails as well when work is called off while nobody reads.
class StandardOutput final : public std::streambuf {
public:
    StandardOutput();
    ~StandardOutput() override;
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

    /// The number of the error that writing failed with; 0 while all is well.
    int error() const { return error_; }
    /// Whether whoever read it does so no more.
    bool isClosed() const;

protected:
    int_type overflow(int_type character) override;
    int sync() override;

private:
    std::streambuf* before_;
    std::array<char, 1 << 16> buffer_{};
    int error_ = 0;
};

}  // namespace cli
