#include "platform/tcl/TclEvaluator.h"

namespace tkq::tcltasks {

// Defined here so that each class has one type information, in this library.
tcl_error::~tcl_error() = default;
tcl_evaluator::~tcl_evaluator() = default;

}  // namespace tkq::tcltasks
