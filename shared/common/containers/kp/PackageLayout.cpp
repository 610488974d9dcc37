#include "containers/kp/PackageLayout.h"

#include "platform/base/HSTStringUtils.h"

std::string layout::unfitForKernelFolder(const std::string& name) {
    constexpr std::size_t longestComponent = 255;
    if (name.empty()) return "it is empty";
    if (name.size() > longestComponent) return "it is longer than 255 bytes";
    if (name == "." || name == ".." || name.find_first_of(std::string("/\\\0", 3)) != std::string::npos)
        return "it is not one path component";
    for (const char* taken : {ipRepo, ipCache, manifest}) {
        if (HSTStringUtils::equalsIgnoreCase(name, taken)) return "the name is taken by the package itself";
    }
    return {};
}
