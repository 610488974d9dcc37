#pragma once

#include "platform/base/Export.h"
#include "platform/tcl/TclEvaluator.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace tkq::tcltasks {

/// Whether a script belongs in the user's journal of commands.
enum record_flag { record_command, dont_record_command };

/// Through which the process evaluates Tcl. To be used from one thread.
class KP_EXPORT task_manager {
public:
    /// Sees every script before it is evaluated.
    using recorder = std::function<void(const std::string& script, record_flag flag)>;

    static task_manager& instance();

    /// Evaluates a script in the current evaluator and returns its result. With `echo`, the script is shown
    /// on standard error first. Throws tcl_error with Tcl's message when the script fails, HEXError when it
    /// cannot be evaluated.
    std::string eval_in_tcl_throw(const std::string& script, record_flag flag, bool echo);

    /// Replaces the evaluator and returns the one before it. None stands for an interpreter in this process,
    /// which is made at the first evaluation.
    std::shared_ptr<tcl_evaluator> set_evaluator(std::shared_ptr<tcl_evaluator> evaluator);

    /// Replaces the recorder and returns the one before it.
    recorder set_recorder(recorder recorder);

private:
    task_manager() = default;

    std::shared_ptr<tcl_evaluator> evaluator_;
    recorder recorder_;
};

/// An evaluator for the length of a scope.
class KP_EXPORT evaluator_scope {
public:
    explicit evaluator_scope(std::shared_ptr<tcl_evaluator> evaluator)
        : before_(task_manager::instance().set_evaluator(std::move(evaluator))) {}
    ~evaluator_scope() { task_manager::instance().set_evaluator(std::move(before_)); }
    evaluator_scope(const evaluator_scope&) = delete;
    evaluator_scope& operator=(const evaluator_scope&) = delete;

private:
    std::shared_ptr<tcl_evaluator> before_;
};

/// A recorder for the length of a scope.
class KP_EXPORT recorder_scope {
public:
    explicit recorder_scope(task_manager::recorder recorder)
        : before_(task_manager::instance().set_recorder(std::move(recorder))) {}
    ~recorder_scope() { task_manager::instance().set_recorder(std::move(before_)); }
    recorder_scope(const recorder_scope&) = delete;
    recorder_scope& operator=(const recorder_scope&) = delete;

private:
    task_manager::recorder before_;
};

}  // namespace tkq::tcltasks
