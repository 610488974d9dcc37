#include "containers/kernel/DescriptionReader.h"

#include "containers/design/Documents.h"
#include "platform/messages/DocumentMessages.h"

#include <utility>

namespace {

bool isOfLaterVersion(const KernelXML::Root& root) {
    return std::pair(root.versionMajor.get(), root.versionMinor.get()) >
           std::pair(root.knownMajor, root.knownMinor);
}

}  // namespace

std::unique_ptr<KernelXML::Root> readDescription(const std::string& path, const std::string& name,
                                                 const ReadDescription& read) {
    auto root = std::make_unique<KernelXML::Root>();
    DocumentMessages messages(name);
    const auto passOver = [&](const lmx60::Error& unknown) {
        if (!isOfLaterVersion(*root)) throw lmx60::ReadError(unknown);
        root->isIncomplete = true;
        messages.post("@17-2005@%s%s%d", {unknown.text, name, std::to_string(unknown.line)});
    };
    documents::reading(path, [&] { read(*root, passOver); });
    messages.finish();
    return root;
}
