#include "containers/kp/PackageLayout.h"

#include "platform/base/HSTStringUtils.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ExtractionPlan.h"

#include <algorithm>
#include <iterator>

namespace layout {
namespace {

bool isTakenByPackage(std::string_view name) {
    constexpr const char* taken[] = {ipRepo, ipCache, manifest};
    return std::any_of(std::begin(taken), std::end(taken),
                       [&](const char* own) { return HSTStringUtils::equalsIgnoreCase(name, own); });
}

constexpr const char* takenByPackage = "the name is taken by the package itself";

}  // namespace

bool isSameOrBelow(const std::string& folder, const std::string& above) {
    return HSTStringUtils::equalsIgnoreCase(folder, above) ||
           HSTStringUtils::startsWithIgnoreCase(folder, above + "/");
}

bool isInRepository(const std::string& folder) {
    return folder == ipRepo || folder.starts_with(std::string(ipRepo) + "/");
}

bool findsIp(std::uint32_t formatMajor, const std::string& kernelName, const std::string& ipDir) {
    const std::string folder(HUTPathUtils::withoutTrailingSeparators(ipDir));
    if (folder.empty()) return true;
    if (!hasRepository(formatMajor)) return folder == HUTPathUtils::join(kernelName, kernelIp);
    return isInRepository(folder);
}

std::string unfitForComponent(const std::string& name) {
    constexpr std::size_t longestComponent = 255;
    if (name.empty()) return "it is empty";
    if (name.size() > longestComponent) return "it is longer than 255 bytes";
    if (name == "." || name == ".." || name.find_first_of(std::string("/\\\0", 3)) != std::string::npos)
        return "it is not one path component";
    return {};
}

std::string unfitForKernelFolder(const std::string& name) {
    const std::string reason = unfitForComponent(name);
    return reason.empty() && isTakenByPackage(name) ? takenByPackage : reason;
}

std::string unfitToChange(const std::string& folder) {
    const std::string_view reason = ExtractionPlan::unfitForDirectory(folder);
    if (!reason.empty()) return std::string(reason);
    return isTakenByPackage(folder.substr(0, folder.find('/'))) ? takenByPackage : "";
}

}  // namespace layout
