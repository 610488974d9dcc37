#pragma once

#include <cstddef>
#include <string>

/// The largest XML document that is read from inside a package; a small archive can inflate to any size.
constexpr std::size_t maximumPackageDocument = std::size_t{256} << 20;

/// The bytes of an XML document inside a package. Throws std::ios_base::failure when it cannot be read,
/// HEXAlgException when it is larger than the maximum.
std::string readPackageDocument(const std::string& package, const std::string& member);
