#pragma once

#include "platform/zip/ArchiveEdit.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

/// Members of an archive, each a name and its bytes. A name that ends in "/" is a folder's.
using Members = std::vector<std::pair<std::string, std::string>>;

/// Makes an archive of these members alone.
inline void pack(const std::string& path, const Members& members) {
    std::filesystem::remove(path);
    ArchiveEdit edit(path);
    for (const auto& [name, bytes] : members)
        edit.addBytes(name, bytes);
    edit.commit();
}

/// The document of a kernel with these attributes and children, followed by more children of the root.
inline std::string kernelXml(const std::string& attributes, const std::string& children = "<ports/><args/>",
                             const std::string& more = "") {
    return "<root versionMajor='1' versionMinor='10'>\n<kernel " + attributes + ">" + children + "</kernel>" +
           more + "</root>";
}
