#pragma once

#include "containers/kernel/KernelRecords.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kfab::author {

/// What a description is to say. The maps are by the arguments' names.
struct KernelRequest {
    std::string prototype;                     ///< such as "void vadd(const uint *a, uint *out, uint length)"
    std::string name;                          ///< of the kernel; empty for the function's
    std::map<std::string, std::string> ports;  ///< bus interfaces of the IP
    std::map<std::string, std::uint64_t> offsets;  ///< in bytes, on the control port
    std::map<std::string, std::uint64_t> sizes;    ///< in bytes
    std::string language = "ip";
    std::string protocol;   ///< how the host controls the kernel, such as "start_done"; empty for none
    std::string interrupt;  ///< "true" or "false"; empty for none
};

struct AssumedOffset {
    std::string argument;
    std::uint64_t offset;  ///< in bytes
};

/// The description is complete, and can be written.
struct NewKernel {
    KernelXML::Root description;
    std::vector<AssumedOffset> assumed;  ///< those that neither the request nor a register of the IP gives
};

}  // namespace kfab::author
