#include "python/core/Operation.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

#include "python/core/Text.h"
#include <unistd.h>

namespace kp_python {
namespace {

using namespace std::chrono_literals;

/// How often Python code is asked and told: to take the lock may take as long as another thread keeps it.
constexpr auto pause = 20ms;

/// The operations of all threads.
class Running {
public:
    void enter() {
        const std::lock_guard guard(mutex_);
        if (isEnding_) {
            PyErr_SetString(PyExc_RuntimeError, "the interpreter ends");
            throw py::error_already_set();
        }
        ++count_;
    }
    void leave() {
        const std::lock_guard guard(mutex_);
        --count_;
        changed_.notify_all();
    }
    void end() {
        if (process_ != getpid()) return;  // the others' threads are not in a copy of their process
        isEnding_ = true;
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, 5s, [this] { return count_ == 0; });
    }
    bool isEnding() const { return isEnding_; }

private:
    std::atomic<bool> isEnding_ = false;
    std::mutex mutex_;
    std::condition_variable changed_;
    int count_ = 0;
    const pid_t process_ = getpid();
};

Running& running() {
    static Running operations;
    return operations;
}

void log(const ComMsg& message) {
    const std::string words = message.text + (message.detail.empty() ? "" : ": " + message.detail);
    py::module_::import("kernelpackage._messages")
        .attr("post")(text(message.severityText()), text(message.number()), text(words));
}

}  // namespace

thread_local Operation* Operation::current = nullptr;

Operation::Operation(py::object progress, Filter filter) : progress_(std::move(progress)), filter_(filter) {
    running().enter();
    outer_ = std::exchange(current, this);
    outerListener_ = HUTProgress::setListener(progress_.is_none() ? nullptr : this);
    outerQuestion_ = HUTInterrupt::setQuestion([this] { return isCalledOff(); });
}

Operation::~Operation() {
    HUTInterrupt::setQuestion(std::move(outerQuestion_));
    HUTProgress::setListener(outerListener_);
    current = outer_;
    running().leave();
}

void Operation::takeMessages() {
    // The sink before this one is known only once it is set.
    const auto before = std::make_shared<ComMsgMgr::Sink>();
    *before = ComMsgMgr::setSink([before](const ComMsg& message) {
        if (current == nullptr) return (*before)(message);
        if (!message.isThrown && current->filter_(message)) current->attempt([&] { log(message); });
    });
}

void Operation::endAll() {
    const py::gil_scoped_release unlocked;
    running().end();
}

void Operation::rethrow() {
    if (raised_) std::rethrow_exception(std::exchange(raised_, nullptr));
}

void Operation::begin(std::uint64_t total) {
    total_ = total;
    tell(0);
}

void Operation::advance(std::uint64_t done) {
    if (done == total_ || Clock::now() - told_ >= pause) tell(done);
}

void Operation::tell(std::uint64_t done) {
    attempt([&] { progress_(done, total_); });
    told_ = Clock::now();
}

bool Operation::isCalledOff() {
    if (raised_ || running().isEnding()) return true;
    if (Clock::now() - asked_ < pause) return false;
    attempt([] {
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    });
    asked_ = Clock::now();
    return raised_ != nullptr;
}

void Operation::attempt(const std::function<void()>& code) {
    if (raised_) return;
    const py::gil_scoped_acquire locked;
    try {
        code();
    } catch (const std::exception&) {
        raised_ = std::current_exception();
    }
}

}  // namespace kp_python
