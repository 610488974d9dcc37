#include "cli/Command.h"
#include "cli/InputFiles.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "containers/design/HCODesignXMLWriter.h"
#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"

#include <memory>
#include <string>

namespace cli {

Run declareKernelReport(CLI::App& app) {
    auto file = std::make_shared<std::string>();
    auto report = std::make_shared<std::string>();
    InputFiles inputs(app);
    inputs.add("KERNEL.XML", *file, "The kernel description")->required();
    takesOutput(app.add_option("-o,--output", *report, "The report to write; - is standard output"), "FILE")
        ->required();
    return [=, fetch = inputs.fetch()] {
        fetch();
        if (HCOKernelXMLReader(*file).getProfile() == nullptr)
            throw HEXAlgException("'" + *file + "' holds no profile; no report was written");
        const auto write = [&](const std::string& path) {
            HCODesignXMLWriter().writeFromKernelXML(*file, path);
        };
        const auto writeIn = [&](const std::string& directory) {
            write(HUTPathUtils::join(directory, "design.xml"));
        };
        *report == "-" ? printFrom(writeIn, "design.xml") : write(*report);
        return Done;
    };
}

}  // namespace cli
