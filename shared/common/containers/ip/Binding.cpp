#include "containers/ip/Binding.h"

namespace kfab::ip {

using lmx60::quoted;

void refuse(lmx60::Element element, const std::string& reason) {
    throw lmx60::ReadError({lmx60::ErrorKind::MissingElement, reason, element.line()});
}

void refuseLacking(lmx60::Element element, std::string_view path) {
    refuse(element, "element " + quoted(element.name()) + " lacks its required element " + quoted(path));
}

bool isDefinedElsewhere(lmx60::Element element) {
    for (const lmx60::Element child : element.children())
        if (child.name().ends_with("DefinitionRef")) return true;
    return false;
}

}  // namespace kfab::ip
