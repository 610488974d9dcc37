#pragma once

#include "platform/base/Export.h"

#include <functional>

/// Lets whatever works in this process be called off. Work asks for itself at every step that takes time,
/// also while it waits for a lock or for Tcl, and ends with HEXInterrupted; what it had half made is removed,
/// and a package that it would have changed is as it was. Work that is past its last such step is completed.
///
/// The library handles no signals. A program that wants Ctrl-C to end work installs a handler that calls
/// request(); one with a button to cancel calls it from any thread, and clear() before the next work.
class KP_EXPORT HUTInterrupt {
public:
    /// Calls off all work of the process, now and until it is cleared. May be called in a signal handler.
    static void request() noexcept;
    static void clear() noexcept;
    /// Whether the calling thread's work is called off, be it with all other work or by its own question.
    static bool isRequested();

    /// Asks whether the calling thread's work alone is called off. It is asked at every step, and must not
    /// throw.
    using Question = std::function<bool()>;
    /// Replaces the calling thread's question, and returns the one before it. An empty one asks nothing.
    static Question setQuestion(Question question);

    /// A step of work: throws HEXInterrupted when it was called off.
    static void check();
};
