#include "containers/kernel/DefinitionFields.h"

namespace kfab::kernel {

KernelDef& KernelDef::operator=(const KernelDef& other) {
    if (&other == this) return *this;
    for (const definition::KernelField& field : definition::kernelFields)
        std::visit([&](auto member) { this->*member.to = other.*member.to; }, field.value);
    args.insert(args.end(), other.args.begin(), other.args.end());
    ports.insert(ports.end(), other.ports.begin(), other.ports.end());
    return *this;
}

}  // namespace kfab::kernel
