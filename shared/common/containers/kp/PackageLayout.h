#pragma once

#include "containers/explorer/KernelLayout.h"

#include <cstdint>
#include <string>

class HKPKernel;

/// Names inside a package besides those of a kernel's parts.
namespace layout {

constexpr const char* manifest = "kp.xml";
// Of a kernel's own directory.
constexpr const char* ipInstance = "ip.qmr";
constexpr const char* kernelIp = "ip";

/// What people call the layout.
constexpr const char* name(bool hasRepository) {
    return hasRepository ? "repo" : "kernel";
}

/// Whether a folder is another one or lies below it, without regard to case.
bool isSameOrBelow(const std::string& folder, const std::string& above);

/// Whether a folder is the IP repository or lies in it.
bool isInRepository(const std::string& folder);
/// Whether a kernel's IP, if it has one, lies where packages of this format have it: others are not found.
bool findsIp(std::uint32_t formatMajor, const std::string& kernelName, const std::string& ipDir);

/// Why a text cannot be one component of a path (such as "it is empty"); empty when it can.
std::string unfitForComponent(const std::string& name);
/// Why a text cannot be the folder of a kernel that is added; empty when it can.
std::string unfitForKernelFolder(const std::string& name);
/// Why a folder that a manifest states is not a kernel's to change; empty when it is.
std::string unfitToChange(const std::string& folder);

}  // namespace layout
