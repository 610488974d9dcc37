#include "platform/zip/StagingDirectory.h"

StagingDirectory::StagingDirectory(const std::string& destination)
    : directory_(Unfinished::Kind::Directory, destination, {"", ".kp-incomplete"}, 0700) {
    constexpr mode_t allBits = 0777;
    disk::makeDirectory({directory_.file(), "files"}, allBits);
    top_ = disk::openDirectory({directory_.file(), "files"});
    creatableBits_ = disk::status(top_).st_mode & allBits;
}
