#include "containers/lint/PortFacts.h"

#include "containers/kernel/NumberText.h"
#include "platform/base/HSTStringUtils.h"

namespace kfab::lint {

NumberText numberText(std::optional<std::string_view> text) {
    if (!text) return {};
    return {std::string(*text), true, kernel::numberOf(*text)};
}

bool PortFacts::isAddressable() const {
    return HSTStringUtils::equalsIgnoreCase(type, "addressable");
}

bool PortFacts::isStream() const {
    return HSTStringUtils::equalsIgnoreCase(type, "stream");
}

bool PortFacts::isMaster() const {
    return HSTStringUtils::equalsIgnoreCase(mode, "master");
}

bool PortFacts::isSlave() const {
    return HSTStringUtils::equalsIgnoreCase(mode, "slave");
}

}  // namespace kfab::lint
