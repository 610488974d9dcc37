#include "cli/Command.h"
#include "cli/Options.h"
#include "cli/Subject.h"
#include "containers/page/Page.h"
#include "platform/base/Exceptions.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"

#include <array>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

#include <fcntl.h>

namespace cli {
namespace {

/// A slip of the finger must not cost a package or a document.
void requireReplaceable(const std::string& path) {
    constexpr std::string_view signature = "<!DOCTYPE html>";
    std::array<char, signature.size()> begin{};
    if (path == "-" || !HUTFile::isFile(path)) return;
    const std::size_t size = disk::readAt(disk::open(path, O_RDONLY), 0, begin.data(), begin.size());
    if (size > 0 && std::string_view(begin.data(), size) != signature)
        throw HEXAlgException("'" + path + "' is there already and no HTML page; a page replaces only pages");
}

}  // namespace

Run declarePage(CLI::App& app) {
    const auto gather = takesSubject(app);
    auto output = std::make_shared<std::string>();
    takesOutput(app.add_option("-o,--output", *output,
                               "HTML file to write, which replaces only another one; - is standard output"),
                "FILE")
        ->required();
    return [gather, output] {
        requireReplaceable(*output);
        const std::string page = kfab::page::pageOf(gather());
        if (*output == "-")
            std::cout << page;
        else
            HUTFile::writeFile(*output, page);
        return Done;
    };
}

}  // namespace cli
