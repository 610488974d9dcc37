// Packing IP caches.

#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/HKPContainerXMLWriter.h"
#include "containers/kp/IpPlacement.h"
#include "containers/kp/KernelPlaces.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageSeal.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/files/DirectoryTree.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/zip/ArchiveEdit.h"

#include <set>

#include <boost/filesystem/path.hpp>

namespace {

bool isIpInstance(const TreeItem& item) {
    const std::string extension = boost::filesystem::path(item.name).extension().string();
    return !item.isDirectory && HSTStringUtils::equalsIgnoreCase(extension, ".qmr");
}

std::vector<TreeItem> itemsBelow(const std::string& directory) {
    try {
        return DirectoryTree::walk(directory);
    } catch (const HEXAlgException& unreadable) {
        throw HEXAlgException(std::string("filesystem::recursive_directory_iterator directory error: ") +
                              unreadable.what());
    }
}

/// The directories that hold an IP instance of their own, ascending.
std::set<std::string> ipCachesBelow(const std::string& directory) {
    std::set<std::string> caches;
    for (const TreeItem& item : itemsBelow(directory))
        if (isIpInstance(item)) caches.insert(HUTPathUtils::parent(HUTPathUtils::join(directory, item.name)));
    return caches;
}

/// The name that a directory has, also where the path ends in "." or "..".
std::string ownName(const std::string& directory) {
    const std::string_view last = HUTPathUtils::lastComponent(directory);
    if (last != "." && last != "..") return std::string(last);
    return std::string(HUTPathUtils::lastComponent(HUTFile::getCanonicalName(directory)));
}

void stageIpCaches(const std::string& directory, HKPContainer& container, ArchiveEdit& edit) {
    const std::set<std::string> caches = ipCachesBelow(directory);
    if (caches.empty()) ComMsgMgr::post("@17-2004@%s", {HUTPathUtils::shown(directory)});
    std::set<std::string> added;
    for (const std::string& cache : caches) {
        const std::string name = ownName(cache);
        if (added.contains(name)) {
            ComMsgMgr::post("@17-2002@%s%s", {HUTPathUtils::shown(cache), HUTPathUtils::shown(name)});
        } else if (container.addIpCacheIfUnique(name)) {
            added.insert(name);
            const std::string folder = HUTPathUtils::join(layout::ipCache, name);
            if (const HKPKernel* other = otherKernelIn(container, folder, nullptr))
                throw HKPRefused("The IP cache '" + cache + "' cannot be packed because kernel '" +
                                 other->getName() + "' has files in '" + folder + "'\n");
            edit.deleteFolder(folder);  // what nothing records would mix with the cache
            edit.addTree(folder, cache);
        }
    }
}

}  // namespace

void HKPContainerUtils::appendIPCacheDir(const std::string& path, const std::string& directory) {
    appendIPCacheDir({.kpPath = path, .directory = directory});
}

void HKPContainerUtils::appendIPCacheDir(const IpCacheAddition& addition) {
    const std::string& path = addition.kpPath;
    if (!HUTFile::isDir(addition.directory))
        throw HEXAlgException("The specified IP Cache directory '" + addition.directory +
                              "' is not a directory.");
    const std::string missing = "The specified KP file '" + path + "' does not exist.";
    if (!HUTFile::exists(path)) throw HEXAlgException(missing);
    ArchiveEdit edit(path);
    if (!edit.exists()) throw HEXAlgException(missing);
    edit.useJobs(addition.jobs);
    HKPContainer container;
    HKPContainerXMLReader(path, container, edit.snapshot()).parseKPContainer();
    if (!layout::hasRepository(container.getVersionMajor()) && addition.otherLayout != OtherLayout::Restamp)
        throw HKPRefused("'" + path + "' has the layout 'kernel', which has no IP caches");
    const PackageSeal seal{path, edit.snapshot(), container.getVersionMajor(), container.getVersionMinor()};
    if (seal.isRenewed(addition.brokenSeal)) edit.seal();
    stageIpCaches(addition.directory, container, edit);
    tellWhoseIpIsLost(container, path, true);
    HKPContainerXMLWriter(container, path).writeKPContainer(true, edit);
    edit.commit();
}
