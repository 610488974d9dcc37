#include "containers/customizer/KernelCustomization.h"

#include "containers/explorer/KernelLayout.h"
#include "containers/ip/ComponentReader.h"
#include "containers/ip/ParameterCheck.h"
#include "containers/kp/HKPContainerUtils.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/tcl/TclShell.h"
#include "platform/tcl/Words.h"
#include "platform/xml/Errors.h"
#include "platform/xml/Limits.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <algorithm>
#include <optional>

namespace kfab::kernel {

class CustomizationRun::OneDirectoryCustomizer : public Customizer {
public:
    explicit OneDirectoryCustomizer(const KernelCustomization& request)
        : Customizer(disk::absolute(request.package), request.kernel), request_(request) {
        setWorkingDirPath_(Customizer::getWorkingDirPath());
        disk::makeDirectories(Customizer::getWorkingDirPath(), 0700);
        withNewKernelName(request.name).withOutputFilePath(request.output).withTargetBoard(request.board);
        Params values;
        for (const auto& [name, param] : request.params)
            values[name] = param.value;
        withParams(values);
    }

    /// Throws where the output package does not take a kernel of the new name.
    void requirePlace() const {
        KernelAddition addition;
        addition.kpPath = getOutputFilePath();
        addition.kernelName = request_.name;
        prepareAddition_(addition);
        HKPContainerUtils::requirePlaceForKernel(addition);
    }

protected:
    void prepareExtraction_(KernelExtraction& extraction) const override {
        extraction.requireSeal = !request_.renewsSeals;
        extraction.jobs = request_.jobs;
    }
    void prepareAddition_(KernelAddition& addition) const override {
        addition.otherLayout = OtherLayout::Refuse;
        addition.changesOtherIps = request_.replacesIp;
        addition.brokenSeal = request_.renewsSeals ? BrokenSeal::Renew : BrokenSeal::Refuse;
        addition.jobs = request_.jobs;
    }
    std::string reasonOf_(const std::exception& failure) const override {
        return request_.reasonOf ? request_.reasonOf(failure) : Customizer::reasonOf_(failure);
    }

private:
    const KernelCustomization& request_;
};

namespace {

/// Only what has an IP in the package can be customized.
const HKPKernel& kernelWithIp(const HKPContainer& container, const KernelCustomization& request) {
    const HKPKernel* kernel = container.getKPKernelByName(request.kernel);
    if (kernel == nullptr)
        throw HKPKernelNotFound("Kernel '" + request.kernel + "' was not found inside KP container '" +
                                request.package + "'\n");
    if (kernel->getIpDir().empty() || !layout::hasRepository(container.getVersionMajor()))
        throw HKPRefused("Kernel '" + kernel->getName() + "' cannot be customized: '" + request.package +
                         "' holds no packaged IP of it in '" + layout::ipRepo + "'");
    return *kernel;
}

/// The description of the IP; none where the package has none that is understood.
std::optional<ip::IpComponent> componentOf(const ArchiveSnapshot& package, const HKPKernel& kernel) {
    const std::string member = HUTPathUtils::join(kernel.getIpDir(), layout::ipDefinition);
    const ArchiveEntry* entry = package.find(member);
    if (entry == nullptr || entry->size > lmx60::maximumDocument) return {};
    try {
        return ip::parseComponent(package.read(*entry));
    } catch (const lmx60::ReadError& error) {
        if (error.error().kind != lmx60::ErrorKind::OtherFormat)
            ComMsgMgr::post("@17-2009@%s%s%d", {error.what(), member, std::to_string(error.error().line)});
        return {};
    }
}

/// Whether it is one of an interface, such as "s_control.ID_WIDTH": tools know more of those than the IP
/// tells.
bool isOfInterface(const ip::IpComponent& component, const std::string& param) {
    return std::any_of(component.busInterfaces.begin(), component.busInterfaces.end(),
                       [&](const auto& interface) { return param.starts_with(interface.name + "."); });
}

/// Throws when the kernel's IP has no parameter of a name or does not take its value. An IP that is not
/// described as an IEEE 1685 component is not asked.
void requireParams(const KernelCustomization& request) {
    HKPContainer container;
    const auto package = HKPContainerUtils::openKPContainer_(request.package, container);
    const HKPKernel& kernel = kernelWithIp(container, request);
    if (request.params.empty()) return;
    const auto component = componentOf(*package, kernel);
    if (!component) return;
    for (const auto& [name, param] : request.params) {
        if (isOfInterface(*component, name)) continue;
        if (const auto problem = ip::checkParameter(*component, name, param.value))
            throw HKPRefused(param.place + ": " + *problem);
    }
}

std::string loadingScript(const std::string& path) {
    if (!HUTFile::isFile(path)) throw HEXFileNotFoundException(path);
    const std::string absolute = disk::absolute(path);
    if (!tkq::tcltasks::is_braced_word(absolute))
        throw HEXAlgException("The path '" + absolute + "' cannot be used in a script");
    return "source {" + absolute + "}";
}

}  // namespace

CustomizationRun::CustomizationRun(const KernelCustomization& request) : request_(request) {
    requireParams(request);
    customizer_ = std::make_unique<OneDirectoryCustomizer>(request);
    customizer_->requirePlace();
    customizer_->withOutputFilePath(disk::absolute(customizer_->getOutputFilePath()));
    std::transform(request.hostScripts.begin(), request.hostScripts.end(), std::back_inserter(loading_),
                   loadingScript);
}

CustomizationRun::~CustomizationRun() = default;

std::string CustomizationRun::run(const tkq::tcltasks::task_manager::recorder& recorder) {
    using namespace tkq::tcltasks;
    std::optional<evaluator_scope> shell;
    if (!request_.tclShell.empty()) shell.emplace(std::make_shared<tcl_shell>(request_.tclShell));
    for (const std::string& script : loading_)
        task_manager::instance().eval_in_tcl_throw(script, dont_record_command, false);
    std::optional<recorder_scope> recording;
    if (recorder) recording.emplace(recorder);
    if (customizer_->execute()) return {};
    HUTInterrupt::check();
    return customizer_->getErrorMessage();
}

}  // namespace kfab::kernel
