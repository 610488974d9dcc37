#include "cli/Command.h"
#include "cli/InputFiles.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "containers/author/KernelAuthor.h"
#include "containers/ip/ComponentReader.h"
#include "containers/kernel/NumberText.h"
#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/xml/Writer.h"

#include <cstdint>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/Validators.hpp>

namespace cli {
namespace {

using kfab::author::KernelRefused;
using kfab::author::KernelRequest;

struct Options {
    std::string ip, output;
    std::vector<std::string> ports, offsets, sizes;
    KernelRequest request;
};

/// An option "ARG=VALUE" that may be repeated, for different arguments; `take` is false for a value that is
/// none. All is put where it belongs as it is parsed.
template <class Take>
void addByArgument(CLI::App& app, const std::string& name, const std::string& type, const std::string& help,
                   std::vector<std::string>& texts, Take take) {
    const auto understand = [take, type](const std::string& text) -> std::string {
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos || equals == 0 ||
            !take(text.substr(0, equals), text.substr(equals + 1)))
            return "'" + text + "' is not " + type + ", or the second one of its argument";
        return {};
    };
    app.add_option(name, texts, help)
        ->check(CLI::Validator(understand, ""))
        ->type_name(type)
        ->allow_extra_args(false);
}

/// Takes numbers into a map of the options' request.
auto intoNumbers(const std::shared_ptr<Options>& options,
                 std::map<std::string, std::uint64_t> KernelRequest::*numbers) {
    return [options, numbers](const std::string& argument, const std::string& text) {
        const auto number = kfab::kernel::numberOf(text);
        return number && (options->request.*numbers).emplace(argument, *number).second;
    };
}

/// What the user can do about it.
std::string adviceOn(const KernelRefused& refusal) {
    const std::string& argument = refusal.argument();
    switch (refusal.lacking()) {
        case KernelRefused::Lacking::Port:
            return "; say which with --connect " + argument + "=PORT";
        case KernelRefused::Lacking::Offset:
            return "; give its offset with --offset " + argument + "=N";
        case KernelRefused::Lacking::Size:
            return "; give it with --size " + argument + "=N";
        case KernelRefused::Lacking::Nothing:
            break;
    }
    return {};
}

void tellAssumed(const std::vector<kfab::author::AssumedOffset>& assumed) {
    std::string offsets;
    for (const auto& [argument, offset] : assumed)
        offsets += (offsets.empty() ? "" : ", ") + argument + " " + kfab::kernel::hexadecimal(offset);
    complain("info",
             "the IP describes no registers of these arguments, and their offsets are assumed: " + offsets);
}

void requireNew(const std::string& path) {
    if (path != "-" && HUTFile::exists(path))
        throw HEXAlgException("'" + path + "' is there already; a new description replaces no file");
}

ExitStatus make(const Options& options, bool isQuiet) {
    requireNew(options.output);
    const std::string document =
        HUTFile::isDir(options.ip) ? HUTPathUtils::join(options.ip, "component.xml") : options.ip;
    const kfab::ip::IpComponent component = kfab::ip::readComponent(document);
    try {
        const kfab::author::NewKernel made = kfab::author::describeKernel(component, options.request);
        const std::string text = lmx60::toString(made.description);
        if (options.output == "-")
            std::cout << text;
        else
            HUTFile::writeFile(options.output, text);
        if (!made.assumed.empty() && !isQuiet) tellAssumed(made.assumed);
        return Done;
    } catch (const kfab::author::PrototypeRefused& refusal) {
        complain("error", "--prototype: " + std::string(refusal.what()) + adviceOn(refusal));
        return WrongUsage;
    } catch (const KernelRefused& refusal) {
        throw HEXAlgException(refusal.what() + adviceOn(refusal));
    }
}

}  // namespace

Run declareKernelNew(CLI::App& app) {
    auto options = std::make_shared<Options>();
    KernelRequest& request = options->request;
    InputFiles inputs(app);
    inputs.add("IP", options->ip, "The IP's component, or the directory of its component.xml")->required();
    app.add_option("--prototype", request.prototype,
                   "The kernel as a function in C, such as 'void k(const uint *a, uint n)'")
        ->type_name("TEXT")
        ->required();
    app.add_option("--name", request.name, "Name of the kernel; the function's unless given")
        ->type_name("NAME");
    addByArgument(app, "--connect", "ARG=PORT", "Port of an argument; may be repeated", options->ports,
                  [options](const std::string& argument, const std::string& port) {
                      return options->request.ports.emplace(argument, port).second;
                  });
    addByArgument(app, "--offset", "ARG=N", "Offset of an argument on the control port; may be repeated",
                  options->offsets, intoNumbers(options, &KernelRequest::offsets));
    addByArgument(app, "--size", "ARG=N", "Size of an argument in bytes; may be repeated", options->sizes,
                  intoNumbers(options, &KernelRequest::sizes));
    app.add_option("--protocol", request.protocol, "How the host controls the kernel, such as start_done")
        ->type_name("TEXT");
    takesOneOf(app.add_option("--interrupt", request.interrupt, "Whether the kernel interrupts"),
               {"true", "false"});
    app.add_option("--language", request.language, "Source language of the kernel; ip unless given")
        ->type_name("TEXT");
    takesOutput(app.add_option("-o,--output", options->output,
                               "File to write, which must not be there; - is standard output"),
                "FILE")
        ->required();
    return [options, &app, fetch = inputs.fetch()] {
        fetch();
        return make(*options, isQuiet(app));
    };
}

}  // namespace cli
