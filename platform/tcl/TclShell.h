#pragma once

#include "platform/base/Export.h"
#include "platform/tcl/TclEvaluator.h"

#include <memory>
#include <string>

namespace tkq::tcltasks {

/// A Tcl shell that runs as a child process in a process group of its own. Scripts and results travel over
/// two pipes that the shell's standard streams have no part in: whatever scripts print goes to this process's
/// standard error, and what they read from standard input is at its end.
class KP_EXPORT tcl_shell : public tcl_evaluator {
public:
    /// Starts a command line such as "tclsh" or "tool -mode tcl", as /bin/sh understands it. The command must
    /// evaluate what it reads from standard input and leave inherited descriptors open. Throws HEXError when
    /// no process can be started; a command that is missing or ends early is told by evaluate.
    explicit tcl_shell(const std::string& command_line);

    /// Ends the shell and every process left in its group: first by closing the pipe, then by SIGTERM and,
    /// for those who stay, SIGKILL.
    ~tcl_shell() override;

    /// Waits for the shell as long as that lives. Throws HEXError that tells how the shell ended when it did,
    /// now or before, HEXInterrupted when work is called off; the script then goes on in the shell, whose
    /// answer to it is dropped.
    std::string evaluate(const std::string& script) override;

private:
    class connection;

    std::string command_line_;
    std::unique_ptr<connection> connection_;
};

}  // namespace tkq::tcltasks
