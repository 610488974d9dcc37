#pragma once

#include <string>
#include <vector>

/// What an edit does to the members of an archive: their names, each list in ascending order. Those that are
/// written anew with the bytes that they have are in none of them.
struct ArchiveChanges {
    std::vector<std::string> added;
    std::vector<std::string> replaced;
    std::vector<std::string> removed;
};
