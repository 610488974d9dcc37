#pragma once

#include "platform/tcl/InProcessInterpreter.h"
#include "platform/tcl/TclShell.h"

#include <functional>
#include <memory>
#include <ostream>
#include <string>

/// The two ways to evaluate Tcl, for tests that must hold in both.
struct EvaluatorKind {
    std::string name;
    std::function<std::shared_ptr<tkq::tcltasks::tcl_evaluator>()> make;

    friend std::ostream& operator<<(std::ostream& stream, const EvaluatorKind& kind) {
        return stream << kind.name;
    }
};

inline const EvaluatorKind evaluatorKinds[] = {
    {"InProcess", [] { return std::make_shared<tkq::tcltasks::in_process_interpreter>(); }},
    {"Shell", [] { return std::make_shared<tkq::tcltasks::tcl_shell>("tclsh8.6"); }}};
