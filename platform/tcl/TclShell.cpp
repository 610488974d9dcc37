#include "platform/tcl/TclShell.h"

#include "platform/base/HUTInterrupt.h"
#include "platform/tcl/ChildProcess.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <optional>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace tkq::tcltasks {
namespace {

/// What the shell reads from its standard input: to serve requests until their pipe is closed. A request is
/// its size, a line feed and the script; an answer is Tcl's completion code, the size of the result, a line
/// feed and the result. The ensemble `chan` is used since a tool's shell may have a `puts` of its own.
constexpr std::string_view service = R"(apply {{requests results} {
    encoding system utf-8
    foreach channel [list $requests $results] { chan configure $channel -translation binary }
    while {[chan gets $requests size] > 0} {
        set script [encoding convertfrom utf-8 [chan read $requests $size]]
        set code [catch {uplevel #0 $script} result options]
        if {$code == 2} { set code [dict get $options -code] }
        set result [encoding convertto utf-8 $result]
        chan puts -nonewline $results "$code [string length $result]\n$result"
        chan flush $results
    }
    exit
}} )";

struct answer {
    int code;
    std::string result;
};

/// Takes a whole answer out of what was received; none while some of it is missing. Throws HEXError for what
/// no answer begins with.
std::optional<answer> take_answer(std::string& received) {
    const std::size_t line_end = received.find('\n');
    if (line_end == std::string::npos) return std::nullopt;
    answer taken{};
    std::size_t size = 0;
    const char* const end = received.data() + line_end;
    const auto code = std::from_chars(received.data(), end, taken.code);
    const auto length = std::from_chars(std::min(code.ptr + 1, end), end, size);
    if (code.ec != std::errc() || length.ec != std::errc() || length.ptr != end)
        throw HEXError("The Tcl shell sent what is no answer");
    const std::string_view result = std::string_view(received).substr(line_end + 1);
    if (result.size() < size) return std::nullopt;
    taken.result = result.substr(0, size);
    received.erase(0, line_end + 1 + size);
    return taken;
}

/// As an interpreter of its own would see the completion of a script at top level.
std::string result_of(answer answer) {
    switch (answer.code) {
        case 0:
        case 2:
            return std::move(answer.result);
        case 1:
            throw tcl_error(answer.result);
        case 3:
            throw tcl_error("invoked \"break\" outside of a loop");
        case 4:
            throw tcl_error("invoked \"continue\" outside of a loop");
        default:
            throw tcl_error("command returned bad code: " + std::to_string(answer.code));
    }
}

void set_nonblocking(const disk::FileDescriptor& file) {
    ::fcntl(file.number(), F_SETFL, ::fcntl(file.number(), F_GETFL) | O_NONBLOCK);
}

std::string service_between(int requests, int results) {
    const auto opened = [](int number, const char* mode) {
        return "[open /dev/fd/" + std::to_string(number) + " " + mode + "] ";
    };
    return std::string(service) + opened(requests, "r") + opened(results, "w") + "\n";
}

/// A pipe that a text waits in, to be read to its end.
disk::FileDescriptor input_of(std::string_view text) {
    pipe_ends pipe = make_pipe("the input of a Tcl shell");
    // Far less than any pipe holds, so that it is written at once and before anyone could stop reading.
    if (::write(pipe.writing.number(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw HEXError("The input of a Tcl shell cannot be written");
    return std::move(pipe.reading);
}

}  // namespace

class tcl_shell::connection {
public:
    explicit connection(const std::string& command_line)
        : requests_(make_pipe("scripts")),
          results_(make_pipe("results")),
          process_(command_line,
                   input_of(service_between(requests_.reading.number(), results_.writing.number())),
                   {requests_.reading.number(), results_.writing.number()}) {
        set_nonblocking(requests_.writing);
        set_nonblocking(results_.reading);
        results_.writing.close();
        // The reading end of the requests stays open here, so that writing to a dead shell raises no signal.
    }

    ~connection() {
        requests_.writing.close();
        if (!HUTInterrupt::isRequested()) process_.wait(std::chrono::seconds(1));
    }

    /// None when the shell has ended.
    std::optional<answer> ask(const std::string& script) {
        HUTInterrupt::check();
        unsent_ += std::to_string(script.size()) + "\n" + script;
        for (++unanswered_;; HUTInterrupt::check()) {
            // Those who asked before may have been called off while they waited.
            while (auto answer = take_answer(received_))
                if (--unanswered_ == 0) return answer;
            // Asked before reading, so that the last words of a dying shell are read.
            const bool has_ended = process_.has_ended();
            send();
            if (receive()) continue;
            if (has_ended || is_closed_) return std::nullopt;
            wait_for_shell();
        }
    }

    /// How the shell ended, which it is about to do when it has not.
    std::string ending() const {
        return process_.wait(std::chrono::seconds(2)) ? process_.ending() : "closed its pipe";
    }

private:
    void send() {
        const ssize_t sent = ::write(requests_.writing.number(), unsent_.data(), unsent_.size());
        if (sent > 0) unsent_.erase(0, static_cast<std::size_t>(sent));
    }

    /// Returns whether anything arrived.
    bool receive() {
        char buffer[1 << 16];
        const ssize_t got = ::read(results_.reading.number(), buffer, sizeof buffer);
        is_closed_ = got == 0;
        if (got <= 0) return false;
        received_.append(buffer, static_cast<std::size_t>(got));
        return true;
    }

    /// The end of the shell is no event of a pipe when a child of its own still holds that; hence the limit.
    void wait_for_shell() {
        constexpr int milliseconds = 20;
        pollfd events[] = {{results_.reading.number(), POLLIN, 0}, {requests_.writing.number(), POLLOUT, 0}};
        ::poll(events, unsent_.empty() ? 1 : 2, milliseconds);
    }

    pipe_ends requests_;
    pipe_ends results_;
    child_process process_;
    std::string unsent_;
    std::string received_;
    int unanswered_ = 0;
    bool is_closed_ = false;
};

tcl_shell::tcl_shell(const std::string& command_line)
    : command_line_(command_line), connection_(std::make_unique<connection>(command_line)) {}

tcl_shell::~tcl_shell() = default;

std::string tcl_shell::evaluate(const std::string& script) {
    if (auto answer = connection_->ask(script)) return result_of(*std::move(answer));
    throw HEXError("The Tcl shell '" + command_line_ + "' " + connection_->ending());
}

}  // namespace tkq::tcltasks
