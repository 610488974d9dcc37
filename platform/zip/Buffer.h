#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>

/// Memory that is kept for the next use and not cleared.
class Buffer {
public:
    /// Room for `size` bytes; what it held is lost.
    char* ofSize(std::size_t size) {
        if (!memory_ || size > capacity_) {
            memory_.reset();
            capacity_ = std::max(size, std::min(2 * capacity_, maximumSpare));
            memory_ = std::make_unique_for_overwrite<char[]>(capacity_);
        }
        return memory_.get();
    }
    const char* data() const { return memory_.get(); }

private:
    static constexpr std::size_t maximumSpare = (std::size_t{64} << 20) + 1;

    std::unique_ptr<char[]> memory_;
    std::size_t capacity_ = 0;
};
