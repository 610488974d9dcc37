#pragma once

#include "containers/kernel/ArgDesc.h"
#include "containers/kernel/PortDesc.h"
#include "platform/base/Export.h"

#include <string>
#include <vector>

namespace kfab::kernel {

/// A kernel's interface as plain values. Texts are exactly as in its description; empty where that has none.
struct KP_EXPORT KernelDef {
    std::string name;
    std::string language;
    std::string vlnv;
    std::string attributes;
    std::string hash;
    std::string preferredWorkGroupSizeMultiple;
    std::string workGroupSize;
    std::string debug;
    std::string compileOptions;
    std::string profileType;
    std::vector<ArgDesc> args;
    std::vector<PortDesc> ports;

    KernelDef() = default;
    KernelDef(const KernelDef&) = default;
    KernelDef(KernelDef&&) = default;
    ~KernelDef() = default;

    /// Replaces the texts, but appends the other's args and ports to those that are there. Assign to a new
    /// record for a plain copy.
    KernelDef& operator=(const KernelDef& other);

    void addArgDesc(const ArgDesc& arg) { args.push_back(arg); }
    void addPortDesc(const PortDesc& port) { ports.push_back(port); }
};

}  // namespace kfab::kernel
