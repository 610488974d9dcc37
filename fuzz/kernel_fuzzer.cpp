// Descriptions of kernels: reading, writing and conversion.

#include "containers/kernel/HCOKernelXMLReader.h"

#include "fuzz/RoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto root = fuzz::roundTrip<KernelXML::Root>(fuzz::text(data, size));
    const auto definition = HCOKernelXMLReader::convertToKernelDef(&root);
    fuzz::require(definition.ports.size() == root.kernel.value().ports.port.size(),
                  "all ports are converted");
    fuzz::require(definition.args.size() == root.kernel.value().args.arg.size(),
                  "all arguments are converted");
    return 0;
}
