#include "platform/files/HUTFileUtils.h"

#include "platform/files/Disk.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/files/UniqueNames.h"

std::string HUTFileUtils::uniquifyFilenameInDir(const std::string& directory, const std::string& name) {
    const disk::FileDescriptor inside = disk::openIfThere(directory, O_PATH | O_DIRECTORY);
    std::string candidate = name;
    for (int number = 1; inside.isOpen() && disk::statusIfThere({inside, candidate}); ++number)
        candidate = std::to_string(number) + "_" + name;
    return candidate;
}

void HUTFileUtils::removeTree(const std::string& path) noexcept {
    disk::removeTree(path);
}

ScratchDirectory::ScratchDirectory(const std::string& parent, const std::string& suffix) {
    const std::string absolute = disk::absolute(parent);
    disk::makeDirectories(absolute);
    disk::requireWritable(absolute);
    do {
        path_ = HUTPathUtils::join(absolute, UniqueNames{"", suffix}.next());
    } while (!disk::makeDirectory(path_, 0700));
}

ScratchDirectory::~ScratchDirectory() {
    HUTFileUtils::removeTree(path_);
}
