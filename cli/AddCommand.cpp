#include "cli/Advice.h"
#include "cli/Command.h"
#include "cli/InputFiles.h"
#include "cli/Kernels.h"
#include "cli/LintOutput.h"
#include "cli/MessageFilter.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Plan.h"
#include "containers/kernel/HCOKernelXMLReader.h"
#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/PackageLayout.h"
#include "containers/lint/Lint.h"
#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"

#include <memory>
#include <string>
#include <vector>

#include <CLI/Error.hpp>
#include <nlohmann/json.hpp>

namespace cli {
namespace {

struct Options {
    KernelAddition addition;
    std::string layout;
    bool replaceIp = false, reseal = false, dryRun = false, json = false;
    bool isStrict = false, isUnlinted = false, isQuiet = false;
};

/// What goes to a kernel that is there only with --replace.
constexpr const char* ignoredByUpdate[] = {"--ip",          "--cpu-source", "--sw-emu",  "--report",
                                           "--ip-instance", "--debug-dir",  "--hls-dir", "--project",
                                           "--top-ip",      "--replace-ip"};

/// Whether the kernel is there; throws where it must be.
bool isPresent(const KernelAddition& addition) {
    const bool mustBe = addition.kernelXmlPath.empty();
    if (!mustBe && !HUTFile::exists(addition.kpPath)) return false;
    HKPContainer present;
    HKPContainerUtils::parseKPContainerIntoObject_(addition.kpPath, present);
    if (present.getKPKernelByName(addition.kernelName) != nullptr) return true;
    if (!mustBe) return false;
    throw HEXAlgException("Kernel '" + addition.kernelName + "' is not in '" + addition.kpPath +
                          "'; to add it, give its KERNEL.XML");
}

/// Whether the addition is an update alone, which looks at device images and the shim solution: refuses what
/// it would not look at.
bool onlyUpdates(const KernelAddition& addition, const CLI::App& given) {
    if (!addition.update || addition.replace || !isPresent(addition)) return false;
    for (const char* option : ignoredByUpdate)
        if (given.count(option) > 0)
            throw HEXAlgException("Kernel '" + addition.kernelName + "' is in '" + addition.kpPath +
                                  "', and --update brings it --pdi and --shim alone; with " + option +
                                  ", replace it (--replace)");
    return true;
}

/// Throws when there is anything, and tells what.
void requireNoFindings(const KernelAddition& addition) {
    const auto findings = kfab::lint::lintAddition(addition).findings;
    for (const kfab::lint::Finding& finding : findings)
        complain(severityText(finding.rule->severity), lintLine(finding));
    if (!findings.empty())
        throw HEXAlgException("Kernel '" + addition.kernelName +
                              "' is not added: --strict allows no finding of lint");
}

/// Tells of the first errors, and how many more there are.
void warnOfErrors(const KernelAddition& addition) {
    constexpr std::size_t most = 10;
    std::size_t count = 0;
    for (const kfab::lint::Finding& finding : kfab::lint::lintAddition(addition).findings)
        if (finding.rule->severity == kfab::lint::Severity::Error && count++ < most)
            complain("warning", lintLine(finding));
    if (count > most)
        complain("warning", "... and " + std::to_string(count - most) + " more; 'kp lint' tells all");
}

/// Returns why the kernel could not be looked at, which its addition may refuse with better words; empty when
/// it was.
std::string lint(const KernelAddition& addition, const Options& options) {
    if (options.isUnlinted) return {};
    const MessageFilter silence([](const ComMsg&, const ComMsgMgr::Sink&) {});  // the addition posts them
    if (options.isStrict) {
        requireNoFindings(addition);
        return {};
    }
    if (options.isQuiet) return {};
    try {
        warnOfErrors(addition);
        return {};
    } catch (const HEXInterrupted&) {
        throw;
    } catch (const std::exception& failure) {
        return failure.what();
    }
}

/// The addition as the options ask for it: nothing is lost unless they say so.
KernelAddition additionOf(const Options& options) {
    KernelAddition addition = options.addition;
    if (addition.kernelName.empty())
        addition.kernelName = HCOKernelXMLReader(addition.kernelXmlPath).getKernelName();
    addition.update = addition.update || addition.replace;
    addition.ipRepoLayout = options.layout != layout::name(false);
    addition.otherLayout = options.layout.empty() ? OtherLayout::Follow : OtherLayout::Refuse;
    addition.changesOtherIps = options.replaceIp;
    addition.brokenSeal = options.reseal ? BrokenSeal::Renew : BrokenSeal::Refuse;
    return addition;
}

ExitStatus add(const Options& options, const CLI::App& given) {
    const KernelAddition addition = additionOf(options);
    const std::string unread = onlyUpdates(addition, given) ? "" : lint(addition, options);
    const MessageFilter filter([&](const ComMsg& message, const ComMsgMgr::Sink& pass) {
        if (!addition.replace || !tellsOnlyOfReplacement(message)) pass(message);
    });
    withAdvice([&] {
        if (!options.dryRun) return HKPContainerUtils::addKernel(addition);
        const PlannedAddition plan = HKPContainerUtils::planKernelAddition(addition);
        if (options.json) return printPlan({{"kernel", describeKernel(*plan.kernel)}}, plan.members);
        printPlan({plan.kernel.get()}, plan.members);
    });
    if (!unread.empty()) complain("warning", "lint cannot look at the kernel: " + unread);
    return Done;
}

void requireKernelXmlUnlessUpdating(const KernelAddition& addition) {
    const bool onlyUpdates = addition.update && !addition.replace && !addition.kernelName.empty();
    if (addition.kernelXmlPath.empty() && !onlyUpdates)
        throw CLI::RequiredError("KERNEL.XML (it may be left out with --update --name)");
}

}  // namespace

Run declareAdd(CLI::App& app) {
    auto options = std::make_shared<Options>();
    KernelAddition& addition = options->addition;
    InputFiles inputs(app);
    const auto files = [&](const char* name, std::vector<std::string>& paths, const char* help) {
        app.add_option(name, paths, help)->type_name("FILE")->allow_extra_args(false);
    };
    const auto value = [&](const char* name, std::string& text, const char* type, const char* help) {
        return app.add_option(name, text, help)->type_name(type);
    };
    value("PACKAGE", addition.kpPath, "FILE", "The package; created where missing")->required();
    inputs.add("KERNEL.XML", addition.kernelXmlPath, "The kernel's description");
    takesDirectory(app.add_option("--ip", addition.ipDir, "Directory of the packaged IP"));
    files("--cpu-source", addition.cpuFiles, "Source for CPU emulation; may be repeated");
    files("--sw-emu", addition.swEmuFiles, "File for software emulation; may be repeated");
    files("--pdi", addition.pdiFiles, "Device image; may be repeated");
    value("--shim", addition.shimSolnFile, "FILE", "Shim solution");
    inputs.add("--report", addition.designXmlPath, "Synthesis report to merge into the description");
    takesFile(app.add_option("--ip-instance", addition.ipInstanceFile, "Customized IP instance (.qmr)"));
    value("--debug-dir", addition.debugDir, "DIR", "Directory to package as 'debug'");
    value("--hls-dir", addition.hlsDir, "DIR", "Directory to package as 'hls'");
    value("--project", addition.projectID, "ID", "Identifier of the project that made the kernel");
    value("--top-ip", addition.topIpDir, "DIR", "Top IP directory, relative to the IP repository")
        ->capture_default_str();
    value("--name", addition.kernelName, "NAME", "Name of the kernel; read from KERNEL.XML unless given");
    takesOneOf(app.add_option("--layout", options->layout,
                              "Where the IPs of a new package go: to its repository, unless to the kernels"),
               {layout::name(true), layout::name(false)});
    app.add_flag("--replace", addition.replace, "Replace the kernel of the name");
    app.add_flag("--update", addition.update,
                 "Add device images or a shim solution to the kernel of the name");
    app.add_flag("--replace-ip", options->replaceIp,
                 "Replace an IP of the same VLNV that other kernels use as well");
    app.add_flag("--reseal", options->reseal, "Go on, and seal anew, although the digest does not hold");
    app.add_flag("--check-version", addition.checkVersion, "Refuse a package that later software wrote");
    CLI::Option* strict =
        app.add_flag("--strict", options->isStrict, "Refuse a kernel that 'kp lint --strict' would");
    app.add_flag("--no-lint", options->isUnlinted, "Tell of no mistakes in the kernel")->excludes(strict);
    CLI::Option* dryRun =
        app.add_flag("--dry-run", options->dryRun, "Print what would be done, and change nothing");
    app.add_flag("--json", options->json, "With --dry-run: as a JSON object")->needs(dryRun);
    app.parse_complete_callback([options] { requireKernelXmlUnlessUpdating(options->addition); });
    return [options, &app, fetch = inputs.fetch()] {
        fetch();
        options->isQuiet = isQuiet(app);
        options->addition.jobs = jobs(app);
        return add(*options, app);
    };
}

}  // namespace cli
