#include "containers/kp/KernelPlaces.h"

#include "containers/kp/PackageLayout.h"
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
