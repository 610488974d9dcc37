#include "containers/overview/Overview.h"

#include "containers/explorer/KernelLayout.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageSeal.h"
#include "containers/lint/Examination.h"
#include "containers/lint/LooseFacts.h"
#include "containers/lint/PackageFacts.h"
#include "containers/overview/Parts.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HI18N.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/EntryAttributes.h"

#include <algorithm>
#include <iterator>

namespace kfab::overview {
namespace {

std::string textIn(const KPContainer::Text& text) {
    return HI18N::convert(text.get());
}

std::string folderIn(const KPContainer::Text& text) {
    return std::string(HUTPathUtils::withoutTrailingSeparators(textIn(text)));
}

std::uint32_t presentOrZero(const KPContainer::Number& number) {
    return number.isPresent() ? number.get() : 0;
}

Entry entryOf(const KPContainer::Kernel& kernel) {
    Entry entry{
        folderIn(kernel.Dir), folderIn(kernel.IP), folderIn(kernel.TopIpDir), textIn(kernel.ProjectID), {}};
    if (kernel.SupportedFlows)
        for (const KPContainer::SupportedFlow flow : kernel.SupportedFlows->SupportedFlow)
            if (const auto type = static_cast<HKPKernel::SupportedFlowType>(flow.ordinal - 1);
                !HKPKernel::getFlowAsStr(type).empty())
                entry.flows.push_back(HKPKernel::getFlowAsStr(type));
    return entry;
}

std::string documentOf(const Entry& entry) {
    return HUTPathUtils::join(entry.folder, layout::kernelXml);
}

/// All kernels are held at once. So that no small package exhausts the memory, their descriptions may add up
/// to so many bytes, and so many files may belong to kernels that share them.
constexpr std::uint64_t mostDescribed = std::uint64_t{512} << 20;
constexpr std::size_t mostShared = 2'000'000;

void requireModest(const lint::PackageFacts& facts) {
    const ArchiveSnapshot& archive = *facts.archive();
    std::uint64_t described = 0;
    std::size_t files = 0;
    for (const KPContainer::Kernel& kernel : facts.manifest().Kernels.Kernel) {
        HUTInterrupt::check();
        const Entry entry = entryOf(kernel);
        for (const std::uint32_t position : archive.positionsNamed(documentOf(entry)))
            described = lint::sumOf(described, archive.entries()[position].size);
        files += fileCountOf(entry, archive);
        if (described > mostDescribed || files > archive.entries().size() + mostShared)
            throw HEXAlgException("The kernels of " + HUTPathUtils::quoted(archive.path()) +
                                  " have more to show than can be held at once; ask for one of them");
    }
}

Package packageOf(const lint::PackageFacts& facts) {
    const ArchiveSnapshot& archive = *facts.archive();
    const KPContainer::Root& manifest = facts.manifest();
    Package package;
    package.path = archive.path();
    package.size = archive.digestEnd() + sizeof(std::uint16_t) + archive.comment().size();
    package.contentSize = archive.contentSize();
    package.formatMajor = manifest.VersionMajor.get();
    package.formatMinor = manifest.VersionMinor.get();
    package.softwareMajor = presentOrZero(manifest.SoftwareVersionMajor);
    package.softwareMinor = presentOrZero(manifest.SoftwareVersionMinor);
    package.seal = archive.comment();
    package.fileCount = static_cast<std::size_t>(
        std::count_if(archive.entries().begin(), archive.entries().end(),
                      [](const ArchiveEntry& entry) { return !entry.isDirectory(); }));
    if (const ArchiveEntry* entry = archive.find(layout::manifest))
        package.written = modifiedTime(entry->dosTime);
    package.digest =
        PackageSeal{archive.path(), facts.archive(), package.formatMajor, package.formatMinor}.verify();
    if (manifest.IpCaches)
        for (const KPContainer::Cache& cache : manifest.IpCaches->Cache)
            package.ipCaches.push_back(textIn(cache.CacheDir));
    return package;
}

Argument argumentOf(const lint::ArgFacts& arg) {
    return {.name = arg.name,
            .type = arg.type,
            .port = arg.portName,
            .passing = arg.passing,
            .id = arg.id,
            .size = arg.size,
            .offset = arg.offset,
            .hostOffset = arg.hostOffset,
            .hostSize = arg.hostSize};
}

void takeFacts(Kernel& kernel, const lint::KernelFacts& facts) {
    kernel.name = facts.kernel;
    kernel.versionMajor = facts.versionMajor;
    kernel.versionMinor = facts.versionMinor;
    kernel.language = facts.language;
    kernel.vlnv = facts.vlnv;
    kernel.protocol = facts.protocol;
    kernel.interrupt = facts.interrupt;
    kernel.debug = facts.debug;
    kernel.ports = facts.ports;
    std::transform(facts.args.begin(), facts.args.end(), std::back_inserter(kernel.arguments), argumentOf);
    kernel.maps = addressMapsOf(facts);
    kernel.report = reportOf(facts.report);
}

Kernel kernelOf(const lint::PackageFacts& package, std::size_t place, Depth depth) {
    const KPContainer::Kernel& described = package.manifest().Kernels.Kernel.get(place);
    Kernel kernel;
    kernel.name = textIn(described.Name);
    kernel.entry = entryOf(described);
    kernel.document = documentOf(*kernel.entry);
    kernel.files = filesOf(*kernel.entry, *package.archive());
    try {
        const bool isChecked = depth == Depth::Findings;
        const lint::KernelFacts facts = isChecked ? package.factsOf(place) : package.describedFactsOf(place);
        takeFacts(kernel, facts);
        if (isChecked) kernel.findings = lint::examine(facts);
    } catch (const HEXInterrupted&) {
        throw;
    } catch (const std::exception& unreadable) {
        kernel.problem = unreadable.what();
    }
    return kernel;
}

Overview ofFacts(const lint::KernelFacts& facts) {
    Kernel kernel;
    kernel.document = facts.document;
    takeFacts(kernel, facts);
    kernel.findings = lint::examine(facts);
    Overview overview;
    overview.kernels.push_back(std::move(kernel));
    return overview;
}

}  // namespace

Overview ofPackage(const std::string& path, const std::optional<std::string>& kernel, Depth depth) {
    if (!HUTFile::exists(path)) throw HEXFileNotFoundException(path);
    const lint::PackageFacts facts(path);
    Overview overview;
    overview.package = packageOf(facts);
    if (depth == Depth::Package) return overview;
    if (kernel) {
        overview.kernels.push_back(kernelOf(facts, facts.require(*kernel), depth));
        return overview;
    }
    requireModest(facts);
    for (std::size_t place = 0; place < facts.kernelCount(); ++place) {
        HUTInterrupt::check();
        overview.kernels.push_back(kernelOf(facts, place, depth));
    }
    return overview;
}

Overview ofDescription(const std::string& kernelXml) {
    return ofFacts(lint::factsOf(lint::LooseKernel{.kernelXml = kernelXml}));
}

Overview ofDocument(const std::string& name, std::string document) {
    return ofFacts(lint::factsOf(name, std::move(document)));
}

}  // namespace kfab::overview
