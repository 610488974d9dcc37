#include "containers/kernel/KernelDefConversion.h"

#include "containers/kernel/DefinitionFields.h"
#include "platform/base/HSTStringUtils.h"

namespace kfab::kernel {

KernelDef convertToKernelDef(const KernelXML::Root& root) {
    const KernelXML::Kernel& kernel = root.kernel.value();
    KernelDef converted;
    definition::take(kernel, converted, definition::kernelFields);
    for (const KernelXML::Arg& arg : kernel.args.arg)
        definition::take(arg, converted.args.emplace_back(), definition::argFields);
    for (const KernelXML::Port& port : kernel.ports.port)
        definition::take(port, converted.ports.emplace_back(), definition::portFields);
    return converted;
}

bool isRtlKernel(const KernelXML::Kernel& kernel) {
    return HSTStringUtils::equalsIgnoreCase(kernel.language.get(), "ip");
}

bool isDebugKernel(const KernelXML::Kernel& kernel) {
    return HSTStringUtils::equalsIgnoreCase(kernel.debug.get(), "true");
}

}  // namespace kfab::kernel
