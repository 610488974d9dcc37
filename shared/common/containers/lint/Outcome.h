#pragma once

#include "containers/lint/Rule.h"
#include "platform/base/Export.h"

#include <string>
#include <vector>

namespace kfab::lint {

/// What is wrong, and where. Texts of documents within `text` are fit for a terminal; the names of the kernel
/// and of the document are as found.
struct Finding {
    const Rule* rule = nullptr;  ///< one of rules()
    std::string kernel;          ///< its name in the manifest, else in the description
    std::string document;        ///< a path, or a member of the package
    int line = 0;                ///< from 1; 0 for none
    std::string text;            ///< what is and what should be
};

/// What could not be decided. It is not known to be good.
struct Unchecked {
    const char* code = nullptr;  ///< of a rule
    std::string kernel;
    std::string reason;
};

struct KP_EXPORT Outcome {
    std::vector<Finding> findings;
    std::vector<Unchecked> unchecked;

    bool has(Severity severity) const;
};

}  // namespace kfab::lint
