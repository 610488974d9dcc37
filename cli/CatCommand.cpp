#include "cli/Command.h"
#include "containers/kp/HKPContainerUtils.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <iostream>
#include <memory>
#include <string>

namespace cli {
namespace {

ExitStatus cat(const std::string& package, const std::string& member) {
    HKPContainerUtils::requireKPContainer_(package);
    const auto archive = ArchiveSnapshot::open(package);
    const ArchiveEntry* entry = archive->find(member);
    if (entry == nullptr || entry->isDirectory())
        throw HEXAlgException("'" + package + "' holds no file '" + HUTPathUtils::shown(member) + "'");
    MemberBuffers buffers;
    archive->pass(*entry, archive->localRecord(*entry), buffers, [](std::string_view piece) {
        std::cout.write(piece.data(), static_cast<std::streamsize>(piece.size()));
        if (!std::cout) throw HEXAlgException("Failed to write to standard output");  // to read on is in vain
        HUTInterrupt::check();
    });
    return Done;
}

}  // namespace

Run declareCat(CLI::App& app) {
    auto package = std::make_shared<std::string>();
    auto member = std::make_shared<std::string>();
    app.add_option("PACKAGE", *package, "The package")->type_name("FILE")->required();
    app.add_option("MEMBER", *member, "The file's name in the package")->type_name("NAME")->required();
    return [=] { return cat(*package, *member); };
}

}  // namespace cli
