#pragma once

#include "containers/kernel/KernelDef.h"
#include "containers/kernel/KernelRecords.h"

namespace kfab::kernel {

/// The definition in a kernel description; the root must have its kernel. Both readers of kernel descriptions
/// convert by this.
KernelDef convertToKernelDef(const KernelXML::Root& root);

/// Whether the kernel is packaged IP: its language is "ip" in any case of letters.
bool isRtlKernel(const KernelXML::Kernel& kernel);
/// Whether the kernel was built for debugging: its "debug" is "true" in any case of letters.
bool isDebugKernel(const KernelXML::Kernel& kernel);

}  // namespace kfab::kernel
