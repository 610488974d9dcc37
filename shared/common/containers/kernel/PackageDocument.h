#pragma once

#include <string>

/// The bytes of an XML document inside a package. Throws std::ios_base::failure when it cannot be read,
/// HEXAlgException when it is larger than a document may be: a small archive can inflate to any size.
std::string readPackageDocument(const std::string& package, const std::string& member);
