#include "platform/tcl/ChildProcess.h"

#include "platform/base/Exceptions.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tkq::tcltasks {
namespace {

constexpr std::chrono::milliseconds grace{2000};

[[noreturn]] void fail(const std::string& what, int reason) {
    throw HEXError(what + ": " + std::generic_category().message(reason));
}

/// The state of an ended child, which stays there to be asked again; si_pid is 0 while it lives. A process
/// that does not want to know of its children has none that could be asked.
siginfo_t state_of(pid_t id) {
    siginfo_t state{};
    if (::waitid(P_PID, static_cast<id_t>(id), &state, WEXITED | WNOHANG | WNOWAIT) != 0) state.si_pid = id;
    return state;
}

/// What a process is started with besides its command.
class start_settings {
public:
    start_settings(const disk::FileDescriptor& input, const std::vector<int>& inherited) {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);

        ::posix_spawn_file_actions_adddup2(&actions, input.number(), STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
        // Onto itself: open in the child although closed by execution elsewhere.
        for (const int number : inherited)
            ::posix_spawn_file_actions_adddup2(&actions, number, number);

        sigset_t signals;
        ::sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes, &signals);
        ::sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&attributes, &signals);
        // The group is its own unless another is named.
        ::posix_spawnattr_setflags(&attributes,
                                   POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~start_settings() {
        ::posix_spawn_file_actions_destroy(&actions);
        ::posix_spawnattr_destroy(&attributes);
    }
    start_settings(const start_settings&) = delete;
    start_settings& operator=(const start_settings&) = delete;

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
};

}  // namespace

pipe_ends make_pipe(const std::string& name) {
    int raw[2];
    if (::pipe2(raw, O_CLOEXEC) != 0) fail("No pipe for " + name, errno);
    const pipe_ends first{{raw[0], name}, {raw[1], name}};
    // Where a standard stream is closed, the system gives its number away.
    const auto raised = [&](const disk::FileDescriptor& end) {
        const int number = ::fcntl(end.number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        if (number < 0) fail("No pipe for " + name, errno);
        return disk::FileDescriptor(number, name);
    };
    return {raised(first.reading), raised(first.writing)};
}

child_process::child_process(const std::string& command_line, const disk::FileDescriptor& input,
                             const std::vector<int>& inherited) {
    const start_settings settings(input, inherited);
    std::string arguments[] = {"sh", "-c", command_line};
    char* const argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), nullptr};
    const int reason = ::posix_spawn(&id_, "/bin/sh", &settings.actions, &settings.attributes, argv, environ);
    if (reason != 0) fail("'" + command_line + "' cannot be started", reason);
}

child_process::~child_process() {
    // Until it is reaped below, the child's number and its group's cannot become another's.
    ::kill(-id_, SIGTERM);
    wait(grace);
    ::kill(-id_, SIGKILL);
    while (::waitpid(id_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

bool child_process::has_ended() const {
    return state_of(id_).si_pid != 0;
}

bool child_process::wait(std::chrono::milliseconds longest) const {
    const auto until = std::chrono::steady_clock::now() + longest;
    for (auto pause = std::chrono::milliseconds(1); !has_ended(); pause = std::min(pause * 2, grace / 100)) {
        if (std::chrono::steady_clock::now() >= until) return false;
        std::this_thread::sleep_for(pause);
    }
    return true;
}

std::string child_process::ending() const {
    const siginfo_t state = state_of(id_);
    const std::string number = std::to_string(state.si_status);
    switch (state.si_code) {
        case CLD_EXITED:
            return "ended with status " + number;
        case CLD_KILLED:
        case CLD_DUMPED:
            return "was ended by signal " + number + " (" + ::strsignal(state.si_status) + ")";
        default:
            return "ended";
    }
}

}  // namespace tkq::tcltasks
