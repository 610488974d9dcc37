#include "containers/kp/KernelContents.h"

#include "containers/kernel/DefinitionFields.h"
#include "containers/kp/KernelParts.h"

#include <cstdint>

namespace {

using definition::Reported;
using kfab::kernel::ExplorerIface;
using kfab::kernel::KernelDef;

std::string textOf(const std::string& text) {
    return text;
}

std::string textOf(std::uint32_t number) {
    return std::to_string(number);
}

template <class Desc, class Fields>
KernelContents::Values valuesOf(const Desc& desc, const Fields& fields) {
    KernelContents::Values values;
    definition::forEach(desc, fields, [&](const char* name, const auto& value, Reported reported) {
        std::string text = textOf(value);
        if (reported == Reported::Always || (reported == Reported::UnlessEmpty && !text.empty()))
            values.emplace_back(name, std::move(text));
    });
    return values;
}

template <class Desc, class Fields>
std::vector<KernelContents::Values> valuesOfAll(const std::vector<Desc>& descs, const Fields& fields) {
    std::vector<KernelContents::Values> all;
    all.reserve(descs.size());
    for (const Desc& desc : descs)
        all.push_back(valuesOf(desc, fields));
    return all;
}

}  // namespace

KernelContents KernelContents::of(const KernelDef& kernel, const ExplorerIface& explorer) {
    KernelContents contents;
    contents.definition = valuesOf(kernel, definition::kernelFields);
    for (const KernelPart& part : kernelParts) {
        if (part.kind == KernelPart::Kind::Directory &&
            explorer.existsDir((explorer.*part.root)(kernel.name)))
            contents.flags.push_back(part.lineKey);
        if (part.kind == KernelPart::Kind::Directory) continue;
        Files& files =
            contents.files.emplace_back(Files{part.lineKey, part.arrayKey, part.list != nullptr, {}});
        if (part.list != nullptr) {
            (explorer.*part.list)(kernel.name, files.names);
        } else if (std::string file; explorer.getShimSolnFile(kernel.name, file) && !file.empty()) {
            files.names.push_back(file);
        }
    }
    contents.args = valuesOfAll(kernel.args, definition::argFields);
    contents.ports = valuesOfAll(kernel.ports, definition::portFields);
    return contents;
}
