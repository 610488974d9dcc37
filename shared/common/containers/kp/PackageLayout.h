#pragma once

#include <string>

/// Where things lie inside a package. The separator is "/".
namespace layout {

constexpr const char* manifest = "kp.xml";
constexpr const char* kernelXml = "kernel.xml";
constexpr const char* ipInstance = "ip.qmr";
constexpr const char* cpuSources = "cpu_sources";
constexpr const char* swEmu = "sw_emu";
constexpr const char* pdi = "pdi";
constexpr const char* shimSoln = "shim_soln";
constexpr const char* debug = "debug";
constexpr const char* hls = "hls";
constexpr const char* kernelIp = "ip";
constexpr const char* ipRepo = "ip_repo";
constexpr const char* ipCache = "ip_cache";

/// Why a text cannot be the folder of a kernel (such as "it is empty"); empty when it can.
std::string unfitForKernelFolder(const std::string& name);

}  // namespace layout
