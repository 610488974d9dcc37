#pragma once

#include <cstdint>

/// What the parts of a kernel are called, in a package and in a directory that kernels were extracted to.
/// Those of the first group lie in the kernel's own directory, those of the second beside the kernels. The
/// separator is "/".
namespace layout {

constexpr const char* kernelXml = "kernel.xml";
constexpr const char* cpuSources = "cpu_sources";
constexpr const char* swEmu = "sw_emu";
constexpr const char* pdi = "pdi";
constexpr const char* shimSoln = "shim_soln";
constexpr const char* debug = "debug";
constexpr const char* hls = "hls";

constexpr const char* ipRepo = "ip_repo";
constexpr const char* ipCache = "ip_cache";

/// Whether packages of this format keep the IPs of all kernels in one repository, and IP caches; in others
/// each kernel has its own IP.
constexpr bool hasRepository(std::uint32_t formatMajor) {
    return formatMajor >= 3;
}

/// The file that marks the directory of an IP definition.
constexpr const char* ipDefinition = "component.xml";

}  // namespace layout
