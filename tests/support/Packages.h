#pragma once

#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/HKPContainerXMLWriter.h"
#include "tests/support/Components.h"
#include "tests/support/Environment.h"
#include "tests/support/Members.h"
#include "tests/support/TemporaryDirectory.h"

#include <functional>
#include <regex>

using Texts = std::vector<std::string>;

inline void add(const KernelAddition& addition) {
    HKPContainerUtils::addKernel(addition);
}

/// A file to package, as no other one.
inline std::string inputFile(const TemporaryDirectory& directory, const std::string& name) {
    return directory.file(name, "bytes of " + name);
}

/// The VLNV among attributes; empty for none.
inline std::string vlnvIn(const std::string& attributes) {
    std::smatch found;
    return std::regex_search(attributes, found, std::regex("vlnv='([^']*)'")) ? found[1].str() : "";
}

/// A kernel with an IP and nothing else, an RTL kernel of its own VLNV unless the attributes say otherwise.
/// What it is made of lies in a folder of its name.
inline KernelAddition ipKernel(const TemporaryDirectory& directory, const std::string& name,
                               std::string attributes = "") {
    if (attributes.empty()) attributes = "language='ip' vlnv='v:l:" + name + ":1.0'";
    directory.file(name + "/ip/component.xml", componentXml(vlnvIn(attributes)));
    inputFile(directory, name + "/ip/hdl/top.v");
    const std::string xml = kernelXml("name='" + name + "' " + attributes);
    return {.kpPath = directory / "p.kp",
            .kernelName = name,
            .kernelXmlPath = directory.file(name + "/kernel.xml", xml),
            .ipDir = directory / (name + "/ip"),
            .projectID = "p7",
            .topIpDir = "top",
            .jobs = jobsOfTests()};
}

/// A kernel as ipKernel makes it, with all else that there can be but a report.
inline KernelAddition fullKernel(const TemporaryDirectory& directory, const std::string& name,
                                 const std::string& attributes = "") {
    KernelAddition full = ipKernel(directory, name, attributes);
    full.cpuFiles = {inputFile(directory, "a.cpp"), inputFile(directory, "b.cpp")};
    full.pdiFiles = {inputFile(directory, "x.pdi")};
    full.swEmuFiles = {inputFile(directory, "emu.so")};
    full.shimSolnFile = inputFile(directory, "shim.bin");
    full.ipInstanceFile = inputFile(directory, "custom.qmr");
    inputFile(directory, "debug_in/trace.txt");
    inputFile(directory, "hls_in/deep/solution.log");
    full.debugDir = directory / "debug_in";
    full.hlsDir = directory / "hls_in";
    return full;
}

/// Adds an entry that has a directory of its name and nothing else, in the place of one of that name.
inline HKPKernel* addEntry(HKPContainer& container, const std::string& name) {
    return container.addKPKernel(name, name, "", "", "", {}, false, false, false, false, false, false, false,
                                 true);
}

/// All that the entry of a kernel holds, as "name|directory|IP|top IP|project|flow,flow,|flag|flag".
inline std::string shown(const HKPKernel& kernel) {
    std::string text;
    for (const std::string& part : {kernel.getName(), kernel.getDirectory(), kernel.getIpDir(),
                                    kernel.getTopIpDir(), kernel.getProjectID()})
        text += part + "|";
    const auto [first, last] = kernel.getSupportedFlowRange();
    for (auto flow = first; flow != last; ++flow)
        text += HKPKernel::getFlowAsStr(*flow) + ",";
    const std::pair<bool, const char*> flags[] = {
        {kernel.isRtlKernel(), "|rtl"},        {kernel.isDebug(), "|debug"},
        {kernel.getIsDebugDir(), "|debugDir"}, {kernel.getIsHlsDir(), "|hlsDir"},
        {kernel.getIsPdiDir(), "|pdiDir"},     {kernel.getIsShimSolnDir(), "|shimDir"},
        {kernel.getIsSwEmuDir(), "|swEmuDir"}};
    for (const auto& [flag, name] : flags)
        if (flag) text += name;
    return text;
}

inline Texts shown(const HKPContainer& container) {
    Texts texts;
    const auto [first, last] = container.getKPKernelRange();
    for (auto kernel = first; kernel != last; ++kernel)
        texts.push_back(shown(**kernel));
    return texts;
}

/// The entries of the kernels of a package.
inline Texts kernelsOf(const std::string& package) {
    HKPContainer container;
    HKPContainerUtils::parseKPContainerIntoObject_(package, container);
    return shown(container);
}

/// Writes the manifest anew, as changed.
inline void changeManifest(const std::string& package, const std::function<void(HKPContainer&)>& change,
                           bool repo = true) {
    HKPContainer container;
    HKPContainerUtils::parseKPContainerIntoObject_(package, container);
    change(container);
    HKPContainerXMLWriter(container, package).writeKPContainer(repo);
}
