#include "containers/kernel/KernelDef.h"

namespace kfab::kernel {

KernelDef& KernelDef::operator=(const KernelDef& other) {
    if (&other == this) return *this;
    name = other.name;
    language = other.language;
    vlnv = other.vlnv;
    attributes = other.attributes;
    hash = other.hash;
    preferredWorkGroupSizeMultiple = other.preferredWorkGroupSizeMultiple;
    workGroupSize = other.workGroupSize;
    debug = other.debug;
    compileOptions = other.compileOptions;
    profileType = other.profileType;
    args.insert(args.end(), other.args.begin(), other.args.end());
    ports.insert(ports.end(), other.ports.begin(), other.ports.end());
    return *this;
}

}  // namespace kfab::kernel
