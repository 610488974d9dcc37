#include "platform/files/HUTFile.h"

#include "platform/base/Exceptions.h"
#include "platform/files/DirectoryTree.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <cerrno>
#include <fstream>

#include <boost/filesystem/operations.hpp>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace fs = boost::filesystem;

bool HUTFile::exists(const std::string& path) {
    struct stat status {};
    return disk::statusIfThere(path, status);
}

bool HUTFile::isFile(const std::string& path) {
    struct stat status {};
    return disk::statusIfThere(path, status) && S_ISREG(status.st_mode);
}

bool HUTFile::isDir(const std::string& path) {
    struct stat status {};
    return disk::statusIfThere(path, status) && S_ISDIR(status.st_mode);
}

std::string HUTFile::getCanonicalName(const std::string& path) {
    boost::system::error_code error;
    const fs::path canonical = fs::weakly_canonical(fs::absolute(path), error);
    if (error) throw HEXAlgException("Failed to resolve '" + path + "': " + error.message());
    return canonical.string();
}

std::uint64_t HUTFile::fileCount(const std::string& directory) {
    if (!exists(directory)) return 0;
    const std::vector<TreeItem> items = DirectoryTree::walk(directory);
    return static_cast<std::uint64_t>(
        std::count_if(items.begin(), items.end(), [](const TreeItem& item) { return !item.isDirectory; }));
}

HUTFileIter HUTFile::createFileIter(const std::string& directory) {
    std::vector<std::string> paths;
    for (const disk::DirectoryItem& item : disk::list(directory)) {
        std::string path = HUTPathUtils::join(directory, item.name);
        if (item.type == DT_REG || isFile(path)) paths.push_back(std::move(path));
    }
    std::sort(paths.begin(), paths.end());
    return HUTFileIter(std::move(paths));
}

void HUTFile::ensureWritableDir(const std::string& directory) {
    boost::system::error_code error;
    if (!isDir(directory)) fs::create_directories(directory, error);
    if (!error && ::access(directory.c_str(), W_OK | X_OK) != 0)
        error.assign(errno, boost::system::generic_category());
    if (error || !isDir(directory))
        throw HEXAlgException("Failed to make a writable directory of '" + directory +
                              "': " + error.message());
}

std::string HUTFile::readFile(const std::string& path) {
    return disk::readAll(disk::open(path, O_RDONLY));
}

void HUTFile::writeFile(const std::string& path, std::string_view bytes) {
    struct stat present {};
    const bool isThere = disk::statusIfThere(path, present);
    if (isThere && !S_ISREG(present.st_mode)) {
        std::ofstream stream(path, std::ios::binary);  // a pipe, say, that cannot be replaced
        if (!(stream << bytes << std::flush)) throw HEXAlgException("Failed to write '" + path + "'");
        return;
    }
    const std::string target = getCanonicalName(path);
    disk::FileDescriptor file;
    while (!file.isOpen())
        file = disk::createIfAbsent(target + fs::unique_path(".%%%%%%").string(), O_WRONLY, 0666);
    const std::string pending = file.path();
    file.showAs(path);
    try {
        if (isThere) disk::setMode(file, present.st_mode & 07777);
        disk::writeAt(file, 0, bytes);
        disk::rename(pending, target);
    } catch (...) {
        disk::remove(pending);
        throw;
    }
}
