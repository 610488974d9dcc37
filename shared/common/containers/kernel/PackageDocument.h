#pragma once

#include <memory>
#include <string>

class ArchiveSnapshot;

/// The bytes of an XML document inside a package. Throws std::ios_base::failure when it cannot be read,
/// HEXAlgException when it is larger than a document may be: a small archive can inflate to any size.
/// @param version of the package; none for the one that is there now
std::string readPackageDocument(const std::string& package, const std::string& member,
                                const std::shared_ptr<const ArchiveSnapshot>& version);
