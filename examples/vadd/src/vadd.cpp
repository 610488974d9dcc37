#include <cstdint>

// The kernel for CPU emulation. Sums wrap around at 32 bits, as they do in hardware.
extern "C" void vadd(const std::uint32_t* a, const std::uint32_t* b, std::uint32_t* out,
                     std::uint32_t length) {
    for (std::uint32_t i = 0; i < length; ++i)
        out[i] = a[i] + b[i];
}
