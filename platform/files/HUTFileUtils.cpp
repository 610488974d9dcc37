#include "platform/files/HUTFileUtils.h"

#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"

#include <boost/filesystem/operations.hpp>

namespace fs = boost::filesystem;

std::string HUTFileUtils::uniquifyFilenameInDir(const std::string& directory, const std::string& name) {
    std::string candidate = name;
    for (int number = 1; fs::exists(fs::symlink_status(HUTPathUtils::join(directory, candidate))); ++number)
        candidate = std::to_string(number) + "_" + name;
    return candidate;
}

std::string HUTFileUtils::createUniqueDir(const std::string& directory, const std::string& suffix) {
    for (;;) {
        const std::string name = fs::unique_path("%%%%%%%%%%%%").string() + suffix;
        std::string path = HUTPathUtils::join(directory, name);
        if (disk::makeDirectory(path, 0700)) return path;
    }
}

ScratchDirectory::ScratchDirectory(const std::string& parent, const std::string& suffix) {
    const std::string absolute = HUTPathUtils::makeAbsolute(parent);
    HUTFile::ensureWritableDir(absolute);
    path_ = HUTFileUtils::createUniqueDir(absolute, suffix);
}

ScratchDirectory::~ScratchDirectory() {
    boost::system::error_code ignored;
    fs::remove_all(path_, ignored);
}
