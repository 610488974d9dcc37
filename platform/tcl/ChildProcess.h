#pragma once

#include "platform/files/Disk.h"

#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

namespace tkq::tcltasks {

/// Two ends of a pipe, neither of them one of the standard streams.
struct pipe_ends {
    disk::FileDescriptor reading;
    disk::FileDescriptor writing;
};

/// Throws HEXError when the system has no descriptors left. `name` is for messages about it.
pipe_ends make_pipe(const std::string& name);

/// A command line run by /bin/sh that leads a process group of its own and prints to this process's standard
/// error.
class child_process {
public:
    /// `input` becomes its standard input; `inherited` are further descriptors that it gets under the same
    /// numbers. Throws HEXError when no process can be started.
    child_process(const std::string& command_line, const disk::FileDescriptor& input,
                  const std::vector<int>& inherited);
    /// Ends the child and its whole group: SIGTERM, and SIGKILL for what is left after a while.
    ~child_process();
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;

    bool has_ended() const;
    /// Waits for the child to end by itself, but no longer than given; returns whether it did.
    bool wait(std::chrono::milliseconds longest) const;
    /// How the child ended: "ended with status 3", "was ended by signal 9 (Killed)"; only once it has.
    std::string ending() const;

private:
    pid_t id_ = 0;
};

}  // namespace tkq::tcltasks
