#pragma once

#include "platform/base/Export.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace kfab::kernel {

/// The size in bytes of a type of C, stdint.h or OpenCL, without qualifiers: "unsigned int", "uint8_t",
/// "float4" (a vector of three has the size of one of four), or a pointer, "foo*". None for what is not
/// known.
KP_EXPORT std::optional<std::uint32_t> sizeOfCType(std::string_view type);

}  // namespace kfab::kernel
