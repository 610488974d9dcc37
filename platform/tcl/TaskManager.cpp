#include "platform/tcl/TaskManager.h"

#include "platform/tcl/InProcessInterpreter.h"

#include <iostream>

namespace tkq::tcltasks {

task_manager& task_manager::instance() {
    static task_manager manager;
    return manager;
}

std::string task_manager::eval_in_tcl_throw(const std::string& script, record_flag flag, bool echo) {
    if (recorder_) recorder_(script, flag);
    if (echo) std::cerr << script << '\n';
    if (!evaluator_) evaluator_ = std::make_shared<in_process_interpreter>();
    const std::shared_ptr<tcl_evaluator> current = evaluator_;
    return current->evaluate(script);
}

std::shared_ptr<tcl_evaluator> task_manager::set_evaluator(std::shared_ptr<tcl_evaluator> evaluator) {
    return std::exchange(evaluator_, std::move(evaluator));
}

task_manager::recorder task_manager::set_recorder(recorder recorder) {
    return std::exchange(recorder_, std::move(recorder));
}

}  // namespace tkq::tcltasks
