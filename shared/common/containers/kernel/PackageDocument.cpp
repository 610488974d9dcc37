#include "containers/kernel/PackageDocument.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/xml/Limits.h"
#include "platform/zip/Iostreams.h"

#include <array>

std::string readPackageDocument(const std::string& package, const std::string& member,
                                const std::shared_ptr<const ArchiveSnapshot>& version) {
    isl::iostreams::device::file_source source(package, member, version);
    if (source.size() > lmx60::maximumDocument)
        throw HEXAlgException("'" + HUTPathUtils::shown(member) + "' in '" + HUTPathUtils::shown(package) +
                              "': " + lmx60::tooLarge);
    std::string document;
    document.reserve(source.size());
    std::array<char, 16384> piece{};
    for (std::streamsize got = 0; (got = source.read(piece.data(), piece.size())) > 0;)
        document.append(piece.data(), static_cast<std::size_t>(got));
    return document;
}
