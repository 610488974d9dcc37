#pragma once

#include "containers/ip/IpComponent.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kfab::lint {

/// The files of an IP, by their paths from its component's directory.
struct IpFiles {
    std::function<std::optional<std::uint64_t>(const std::string& name)>
        sizeOf;                                                ///< in bytes; none for no file
    std::function<std::string(const std::string& name)> read;  ///< the bytes; throws when that fails
};

/// The top module of an IP, as its synthesis view calls it and its sources define it.
struct TopModule {
    enum class State {
        Found,
        Missing,  ///< all sources were read, and none defines it
        Unknown,
    };
    State state = State::Unknown;
    std::string unknown;  ///< why it cannot be told
    std::string view, name;
    int line = 0;                     ///< of the component, where it is named
    std::vector<std::string> others;  ///< modules that the sources define instead
    std::string file;                 ///< that defines it
    std::vector<std::string> ports;   ///< by its header
    std::string portsUnknown;         ///< why that could not be read; empty where it was
    bool hasCase = true;              ///< whether names that differ in case alone are others
};

/// Reads the sources, the one that is called like the module first.
TopModule findTopModule(const ip::IpComponent& component, const IpFiles& files);

}  // namespace kfab::lint
