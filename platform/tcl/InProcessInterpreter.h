#pragma once

#include "platform/base/Export.h"
#include "platform/tcl/TclEvaluator.h"

#include <string>

struct Tcl_Interp;

namespace tkq::tcltasks {

/// A Tcl interpreter of its own in this process, to be used from the thread that made it. What scripts print
/// goes to standard error; `exit` is an error, since the process is not the script's to end. The interpreter
/// ends with this object, or before when Tcl is finalized.
class KP_EXPORT in_process_interpreter : public tcl_evaluator {
public:
    /// Throws HEXError when Tcl cannot be started, as without its own script library.
    in_process_interpreter();
    ~in_process_interpreter() override;

    std::string evaluate(const std::string& script) override;

    /// For commands written against Tcl's C interface; none once the interpreter has ended.
    Tcl_Interp* handle() const { return interpreter_; }

private:
    static void end(void* self);

    Tcl_Interp* interpreter_;
};

}  // namespace tkq::tcltasks
