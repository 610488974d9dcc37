#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kfab::lint {

/// In bytes: of a type of C, stdint or OpenCL that is no pointer, qualifiers and order of words aside; none
/// for a type that is not known.
std::optional<std::uint64_t> sizeOfType(std::string_view type);

bool isPointerType(std::string_view type);

}  // namespace kfab::lint
