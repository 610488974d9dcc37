#pragma once

#include "containers/explorer/KernelLayout.h"

#include <string>

/// Names inside a package besides those of a kernel's parts.
namespace layout {

constexpr const char* manifest = "kp.xml";
// Of a kernel's own directory.
constexpr const char* ipInstance = "ip.qmr";
constexpr const char* kernelIp = "ip";

/// Why a text cannot be the folder of a kernel (such as "it is empty"); empty when it can.
std::string unfitForKernelFolder(const std::string& name);

}  // namespace layout
