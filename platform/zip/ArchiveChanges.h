#pragma once

#include <string>
#include <vector>

/// What an edit does to the members of an archive: their names, each list in ascending order.
struct ArchiveChanges {
    std::vector<std::string> added;
    std::vector<std::string> replaced;
    std::vector<std::string> removed;
};
