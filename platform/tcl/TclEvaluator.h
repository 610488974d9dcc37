#pragma once

#include "platform/base/Exceptions.h"
#include "platform/base/Export.h"

#include <string>

namespace tkq::tcltasks {

/// A script failed; what() is Tcl's own message.
class KP_EXPORT tcl_error : public HEXError {
public:
    using HEXError::HEXError;
    ~tcl_error() override;
};

/// Where scripts are evaluated. Variables and commands that a script leaves behind are there for the next
/// one.
class KP_EXPORT tcl_evaluator {
public:
    tcl_evaluator() = default;
    virtual ~tcl_evaluator();
    tcl_evaluator(const tcl_evaluator&) = delete;
    tcl_evaluator& operator=(const tcl_evaluator&) = delete;

    /// Evaluates a script of any number of commands at global level and returns the result of the last one.
    /// Texts are UTF-8. Throws tcl_error when the script fails, HEXError when it cannot be evaluated at all.
    virtual std::string evaluate(const std::string& script) = 0;
};

}  // namespace tkq::tcltasks
