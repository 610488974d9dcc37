#include "platform/tcl/InProcessInterpreter.h"

#include "platform/base/HUTInterrupt.h"
#include "platform/tcl/Library.h"

#include <utility>

#include <tcl.h>

namespace tkq::tcltasks {
namespace {

/// Standard output belongs to the answers of the program. Tcl keeps one such channel a thread.
void print_to_standard_error() {
    Tcl_Channel channel = Tcl_GetStdChannel(TCL_STDERR);
    if (channel == nullptr || channel == Tcl_GetStdChannel(TCL_STDOUT)) return;
    Tcl_SetStdChannel(channel, TCL_STDOUT);
    Tcl_RegisterChannel(nullptr, channel);  // for its second role
}

/// Runs the script for a while more. Where work was called off the limit stays exceeded, and no script can
/// catch that.
void extend_time(ClientData, Tcl_Interp* interpreter) {
    constexpr int microseconds = 50'000;
    if (HUTInterrupt::isRequested()) return;
    Tcl_Time until{};
    Tcl_GetTime(&until);
    until.usec += microseconds;
    until.sec += until.usec / 1'000'000;
    until.usec %= 1'000'000;
    Tcl_LimitSetTime(interpreter, &until);
}

constexpr const char* replace_exit =
    "proc exit {{status 0}} {error {A script cannot end the process that it runs in}}";

}  // namespace

in_process_interpreter::in_process_interpreter() {
    ready_tcl();
    print_to_standard_error();
    interpreter_ = Tcl_CreateInterp();
    if (Tcl_Init(interpreter_) != TCL_OK || Tcl_Eval(interpreter_, replace_exit) != TCL_OK) {
        const std::string reason = text_of(Tcl_GetObjResult(interpreter_));
        Tcl_DeleteInterp(interpreter_);
        throw HEXError("Tcl cannot be started: " + reason);
    }
    Tcl_LimitAddHandler(interpreter_, TCL_LIMIT_TIME, &extend_time, nullptr, nullptr);
    Tcl_CreateExitHandler(&end, this);
}

in_process_interpreter::~in_process_interpreter() {
    if (interpreter_ == nullptr) return;
    Tcl_DeleteExitHandler(&end, this);
    end(this);
}

void in_process_interpreter::end(void* self) {
    Tcl_DeleteInterp(std::exchange(static_cast<in_process_interpreter*>(self)->interpreter_, nullptr));
}

std::string in_process_interpreter::evaluate(const std::string& script) {
    if (interpreter_ == nullptr) throw HEXError("The Tcl interpreter has ended");
    HUTInterrupt::check();
    const std::string own = to_tcl(script);
    extend_time(nullptr, interpreter_);
    Tcl_LimitTypeSet(interpreter_, TCL_LIMIT_TIME);
    const int status = Tcl_EvalEx(interpreter_, own.data(), static_cast<int>(own.size()), TCL_EVAL_GLOBAL);
    std::string result = text_of(Tcl_GetObjResult(interpreter_));
    Tcl_ResetResult(interpreter_);
    Tcl_LimitTypeReset(interpreter_, TCL_LIMIT_TIME);
    if (status != TCL_OK) HUTInterrupt::check();
    if (status != TCL_OK) throw tcl_error(result);
    return result;
}

}  // namespace tkq::tcltasks
