#pragma once

#include "containers/explorer/ExplorerIface.h"

#include <string>
#include <utility>
#include <vector>

/// What an information report says of one kernel, in its order and with its keys, before it has a layout.
struct KernelContents {
    using Values = std::vector<std::pair<const char*, std::string>>;

    struct Files {
        const char* lineKey;   ///< of each file, in lines
        const char* arrayKey;  ///< of all of them, or of the only one, in JSON
        bool isList;
        std::vector<std::string> names;
    };

    Values definition;
    std::vector<const char*> flags;  ///< keys of those that are set
    std::vector<Files> files;
    std::vector<Values> args;
    std::vector<Values> ports;

    static KernelContents of(const kfab::kernel::KernelDef& kernel,
                             const kfab::kernel::ExplorerIface& explorer);
};
