#pragma once

#include <string>

namespace kfab::lint {

/// A kernel that is not in a package. Empty texts stand for what is not given.
struct LooseKernel {
    std::string kernelXml;    ///< the path of the description
    std::string ipDir = {};   ///< the directory of its IP
    std::string report = {};  ///< a report; the description's own profile unless given
    bool isComplete = false;  ///< whether there is no IP when none is given; otherwise that is unchecked
};

}  // namespace kfab::lint
