#include "containers/kp/PackageLayout.h"

#include "platform/base/HSTStringUtils.h"

std::string layout::unfitForKernelFolder(const std::string& name) {
    if (name.empty()) return "it is empty";
    if (name == "." || name == ".." || name.find_first_of(std::string("/\\\0", 3)) != std::string::npos)
        return "it is not one path component";
    for (const char* taken : {ipRepo, ipCache, manifest}) {
        if (HSTStringUtils::equalsIgnoreCase(name, taken)) return "the name is taken by the package itself";
    }
    return {};
}
