#include "containers/kp/KernelPlaces.h"

#include "containers/kp/PackageLayout.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>

const HKPKernel* otherKernelIn(const HKPContainer& container, const std::string& folder, const HKPKernel* own,
                               bool countsIps) {
    const auto meets = [&](const std::string& text) {
        const std::string place(HUTPathUtils::withoutTrailingSeparators(text));
        return layout::isSameOrBelow(place, folder) || layout::isSameOrBelow(folder, place);
    };
    const auto [first, last] = container.getKPKernelRange();
    const auto found = std::find_if(first, last, [&](const auto& entry) {
        return entry.get() != own && (meets(entry->getDirectory()) || meets(entry->getName()) ||
                                      (countsIps && meets(entry->getIpDir())));
    });
    return found == last ? nullptr : found->get();
}

void TakenFolders::add(const std::string& folder, const std::string& owner) {
    const std::string_view place = HUTPathUtils::withoutTrailingSeparators(folder);
    if (!place.empty()) owners_.emplace(HSTStringUtils::foldCase(place), owner);
}

const std::string* TakenFolders::ownerNear(const std::string& folder, const std::string& own) const {
    const std::string place = HSTStringUtils::foldCase(HUTPathUtils::withoutTrailingSeparators(folder));
    const auto another = [&](auto first, auto last) -> const std::string* {
        const auto found = std::find_if(first, last, [&](const auto& entry) { return entry.second != own; });
        return found == last ? nullptr : &found->second;
    };
    for (std::size_t end = place.find('/');; end = place.find('/', end + 1)) {
        const auto [first, last] = owners_.equal_range(place.substr(0, end));
        if (const std::string* owner = another(first, last)) return owner;
        if (end == std::string::npos) break;
    }
    return another(owners_.lower_bound(place + "/"), owners_.lower_bound(place + "0"));  // "0" follows "/"
}
