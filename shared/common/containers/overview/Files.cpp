#include "containers/explorer/KernelLayout.h"
#include "containers/kp/KernelParts.h"
#include "containers/kp/PackageLayout.h"
#include "containers/overview/Parts.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <algorithm>
#include <span>

namespace kfab::overview {
namespace {

constexpr const char* ipPart = "ip";

/// What the file of a name in the kernel's own folder is for.
std::string partOf(const std::string& name) {
    if (name == layout::kernelXml) return "description";
    if (name == layout::ipInstance) return "ip-instance";
    const std::string folder = name.substr(0, name.find('/'));
    if (folder == name) return "other";
    if (folder == layout::kernelIp) return ipPart;
    const KernelPart* const part =
        std::find_if(std::begin(kernelParts), std::end(kernelParts),
                     [&](const KernelPart& each) { return layout::isSameOrBelow(folder, each.folder); });
    return part == std::end(kernelParts) ? "other" : part->word;
}

std::span<const std::uint32_t> positionsIn(const ArchiveSnapshot& archive, const std::string& folder) {
    if (folder.empty()) return {};
    return archive.positionsInFolder(folder);
}

bool hasOwnIp(const Entry& entry) {
    return layout::isSameOrBelow(entry.ip, entry.folder);
}

template <class Use>
void forEachFile(const ArchiveSnapshot& archive, const std::string& folder, const Use& use) {
    for (const std::uint32_t position : positionsIn(archive, folder)) {
        const ArchiveEntry& member = archive.entries()[position];
        if (!member.isDirectory()) use(member);
    }
}

File fileOf(const ArchiveEntry& member, std::string part) {
    return {std::move(part), std::string(member.name), member.size, member.storedSize};
}

}  // namespace

std::vector<File> filesOf(const Entry& entry, const ArchiveSnapshot& archive) {
    std::vector<File> files;
    forEachFile(archive, entry.folder, [&](const ArchiveEntry& member) {
        files.push_back(fileOf(member, partOf(std::string(member.name.substr(entry.folder.size() + 1)))));
    });
    if (!hasOwnIp(entry))
        forEachFile(archive, entry.ip,
                    [&](const ArchiveEntry& member) { files.push_back(fileOf(member, ipPart)); });
    std::stable_sort(files.begin(), files.end(), [](const File& a, const File& b) {
        return std::tie(a.part, a.name) < std::tie(b.part, b.name);
    });
    return files;
}

std::size_t fileCountOf(const Entry& entry, const ArchiveSnapshot& archive) {
    return positionsIn(archive, entry.folder).size() +
           (hasOwnIp(entry) ? 0 : positionsIn(archive, entry.ip).size());
}

}  // namespace kfab::overview
