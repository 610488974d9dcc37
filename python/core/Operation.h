#pragma once

#include "platform/base/HUTInterrupt.h"
#include "platform/base/HUTProgress.h"
#include "platform/messages/ComMsgMgr.h"

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <type_traits>

#include <pybind11/pybind11.h>

namespace kp_python {

namespace py = pybind11;

/// One call of the library, at which Python stays at work: others may hold the interpreter's lock, messages
/// reach its logging, progress a callback, and what these raise, like a signal's handler, calls the work off.
class Operation : private HUTProgress::Listener {
public:
    /// Whether a message is worth a note.
    using Filter = bool (*)(const ComMsg& message);

    /// @param progress is called with the bytes that are done and their total; none for nobody
    Operation(py::object progress, Filter filter);
    ~Operation() override;
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    /// Makes this thread's messages those of its operations; other threads' stay with the host's sink.
    static void takeMessages();
    /// Calls off all operations, waits for them, and lets none begin: the interpreter ends.
    static void endAll();

    /// Throws what Python code raised meanwhile.
    void rethrow();

private:
    using Clock = std::chrono::steady_clock;

    void begin(std::uint64_t total) override;
    void advance(std::uint64_t done) override;
    void end() override {}

    bool isCalledOff();
    /// Runs Python code with the interpreter's lock, and keeps what it raises.
    void attempt(const std::function<void()>& code);
    void tell(std::uint64_t done);

    static thread_local Operation* current;

    py::object progress_;
    Filter filter_;
    std::exception_ptr raised_;
    std::uint64_t total_ = 0;
    Clock::time_point asked_ = Clock::now(), told_ = {};
    Operation* outer_;
    HUTProgress::Listener* outerListener_;
    HUTInterrupt::Question outerQuestion_;
};

inline bool everything(const ComMsg& /*message*/) {
    return true;
}
inline bool nothing(const ComMsg& /*message*/) {
    return false;
}

/// What work results in, which runs without the interpreter's lock and must touch nothing of Python's.
template <class Work>
auto run(const py::object& progress, const Work& work, Operation::Filter filter = everything) {
    Operation operation(progress, filter);
    try {
        if constexpr (std::is_void_v<decltype(work())>) {
            {
                const py::gil_scoped_release unlocked;
                work();
            }
            operation.rethrow();
        } else {
            auto result = [&] {
                const py::gil_scoped_release unlocked;
                return work();
            }();
            operation.rethrow();
            return result;
        }
    } catch (const std::exception&) {
        operation.rethrow();
        throw;
    }
}
template <class Work>
auto run(const Work& work) {
    return run(py::none(), work);
}

}  // namespace kp_python
