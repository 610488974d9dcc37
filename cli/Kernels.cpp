#include "cli/Kernels.h"

#include "platform/base/Exceptions.h"

namespace cli {

std::vector<const HKPKernel*> chosenKernels(const HKPContainer& container, const std::string& package,
                                            const std::optional<std::string>& name) {
    std::vector<const HKPKernel*> kernels;
    if (!name) {
        const auto [first, last] = container.getKPKernelRange();
        for (auto kernel = first; kernel != last; ++kernel)
            kernels.push_back(kernel->get());
    } else {
        kernels.push_back(container.getKPKernelByName(*name));
        if (kernels.front() == nullptr)
            throw HEXAlgException("Kernel '" + *name + "' was not found inside KP container '" + package +
                                  "'\n");
    }
    return kernels;
}

}  // namespace cli
