#include "platform/files/HUTFileUtils.h"

#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"

#include <filesystem>
#include <system_error>

#include <boost/filesystem/operations.hpp>

namespace fs = boost::filesystem;

namespace {

constexpr std::string_view randomPart = "%%%%%%%%%%%%";  // each becomes a hexadecimal digit

}  // namespace

std::string HUTFileUtils::uniquifyFilenameInDir(const std::string& directory, const std::string& name) {
    std::string candidate = name;
    for (int number = 1; fs::exists(fs::symlink_status(HUTPathUtils::join(directory, candidate))); ++number)
        candidate = std::to_string(number) + "_" + name;
    return candidate;
}

std::string HUTFileUtils::createUniqueDir(const std::string& directory, const std::string& suffix) {
    for (;;) {
        const std::string name = fs::unique_path(std::string(randomPart)).string() + suffix;
        std::string path = HUTPathUtils::join(directory, name);
        if (disk::makeDirectory(path, 0700)) return path;
    }
}

bool HUTFileUtils::isUniqueDirName(std::string_view name, std::string_view suffix) {
    return name.size() == randomPart.size() + suffix.size() && name.ends_with(suffix) &&
           name.substr(0, randomPart.size()).find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

void HUTFileUtils::removeTree(const std::string& path) {
    boost::system::error_code failure;
    fs::remove_all(path, failure);
    if (!failure) return;
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);  // goes from directory to directory: no path is too long
}

ScratchDirectory::ScratchDirectory(const std::string& parent, const std::string& suffix) {
    const std::string absolute = HUTPathUtils::makeAbsolute(parent);
    HUTFile::ensureWritableDir(absolute);
    path_ = HUTFileUtils::createUniqueDir(absolute, suffix);
}

ScratchDirectory::~ScratchDirectory() {
    HUTFileUtils::removeTree(path_);
}
