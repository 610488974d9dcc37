#include "cli/Command.h"
#include "cli/InputFiles.h"
#include "cli/Options.h"
#include "containers/design/HCODesignXMLWriter.h"
#include "platform/base/Exceptions.h"

#include <iostream>
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
        HCOKernelXMLReader description(*file);
        if (description.getProfile() == nullptr)
            throw HEXAlgException("'" + *file + "' holds no profile; no report was written");
        const HCODesignXMLWriter writer;
        if (*report == "-") {
            std::cout << writer.textFromKernelXML(description, "standard output");
        } else {
            writer.writeFromKernelXML(description, *report);
        }
        return Done;
    };
}

}  // namespace cli
