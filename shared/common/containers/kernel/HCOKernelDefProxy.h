#pragma once

#include "containers/kernel/KernelDef.h"
#include "platform/base/Export.h"
#include "platform/tcl/NativeCache.h"

#include <memory>

/// Stands for a kernel definition in Tcl. Values that refer to it become invalid when it dies.
class KP_EXPORT HCOKernelDefProxy {
public:
    explicit HCOKernelDefProxy(std::shared_ptr<kfab::kernel::KernelDef> definition);
    virtual ~HCOKernelDefProxy();
    HCOKernelDefProxy(const HCOKernelDefProxy&) = delete;
    HCOKernelDefProxy& operator=(const HCOKernelDefProxy&) = delete;

    const std::shared_ptr<kfab::kernel::KernelDef>& definition() const { return definition_; }

private:
    std::shared_ptr<kfab::kernel::KernelDef> definition_;
};

extern template class KP_EXPORT tkq::tcltasks::native_cache<HCOKernelDefProxy*>;
