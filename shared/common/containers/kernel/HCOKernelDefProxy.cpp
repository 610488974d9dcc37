#include "containers/kernel/HCOKernelDefProxy.h"

#include <utility>

template class tkq::tcltasks::native_cache<HCOKernelDefProxy*>;

HCOKernelDefProxy::HCOKernelDefProxy(std::shared_ptr<kfab::kernel::KernelDef> definition)
    : definition_(std::move(definition)) {}

HCOKernelDefProxy::~HCOKernelDefProxy() {
    tkq::tcltasks::native_cache<HCOKernelDefProxy*>::forget(this);
}
