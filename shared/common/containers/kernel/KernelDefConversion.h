#pragma once

#include "containers/kernel/KernelDef.h"
#include "containers/kernel/KernelRecords.h"

namespace kfab::kernel {

/// The definition in a kernel description; the root must have its kernel. Both readers of kernel descriptions
/// convert by this.
KernelDef convertToKernelDef(const KernelXML::Root& root);

}  // namespace kfab::kernel
