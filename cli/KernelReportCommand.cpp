#include "cli/Command.h"
#include "containers/design/HCODesignXMLWriter.h"
#include "platform/base/Exceptions.h"

#include <memory>
#include <string>

namespace cli {

Run declareKernelReport(CLI::App& app) {
    auto file = std::make_shared<std::string>();
    auto report = std::make_shared<std::string>();
    app.add_option("KERNEL.XML", *file, "The kernel description")->required();
    app.add_option("-o,--output", *report, "The report to write")->required();
    return [=] {
        if (HCOKernelXMLReader(*file).getProfile() == nullptr)
            throw HEXAlgException("'" + *file + "' holds no profile; no report was written");
        HCODesignXMLWriter().writeFromKernelXML(*file, *report);
        return Done;
    };
}

}  // namespace cli
