#pragma once

#include "platform/base/Export.h"

#include <atomic>
#include <cstdint>
#include <functional>

/// A stretch of work that takes time, such as writing an archive, for whoever wants to show how far it is.
/// The work begins with the object and ends with it, be it done or failed. Within other work of the thread it
/// is a part of that, which counts its amount.
class KP_EXPORT HUTProgress {
public:
    /// Hears of all work on its own thread. Amounts are bytes, as near to the time they take as can be told
    /// in advance. The calls must not throw.
    class KP_EXPORT Listener {
    public:
        virtual ~Listener();
        virtual void begin(std::uint64_t total) = 0;
        /// So much is done by now: never less than before, never more than the total. Called at most once for
        /// every 64 KiB, and when all is done.
        virtual void advance(std::uint64_t done) = 0;
        virtual void end() = 0;
    };

    /// Replaces the calling thread's listener, or takes it away, and returns the one before it. A listener
    /// stays the caller's, who keeps it until another one is set and the work that it heard begin is over.
    static Listener* setListener(Listener* listener);

    /// Begins work. `total` is asked only when somebody listens.
    explicit HUTProgress(const std::function<std::uint64_t()>& total);
    ~HUTProgress();
    HUTProgress(const HUTProgress&) = delete;
    HUTProgress& operator=(const HUTProgress&) = delete;

    /// This much of the thread's work, if there is any, was done. Throws when it was called off meanwhile
    /// (see HUTInterrupt).
    static void advance(std::uint64_t amount);
    /// From now on what the calling thread advances is only added up there, for another thread to tell.
    static void collectInto(std::atomic<std::uint64_t>& sum);

    /// No more than this is left of the work.
    void remains(std::uint64_t amount) const;

private:
    bool isTold_;  ///< and not a part of other work
};
