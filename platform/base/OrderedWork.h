#pragma once

#include "platform/base/Export.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// A row of tasks that several threads work off, and whose results are used in the order of the row by one
/// thread: that of whoever makes this, which works off tasks as well. With one job it does all alone. Other
/// threads begin only once half a MiB of work waits.
///
/// What is waiting or done, and not used yet, is bounded: 8 MiB for each job, and 1,024 tasks or a quarter of
/// the files that the process may have open. The first failure in the order of the row is thrown, whatever
/// failed first; nothing behind it is used. What tasks tell of progress, the one thread passes on.
class KP_EXPORT OrderedWork {
public:
    /// May run on any thread, and reaches for nothing that another one has. Runs of the same `worker`, which
    /// is below the number of jobs, come one after the other; worker 0 is the one thread.
    using Task = std::function<void(std::size_t worker)>;
    using Use = std::function<void()>;

    /// @param jobs at least 1
    explicit OrderedWork(std::size_t jobs);
    /// Waits for the tasks that have begun, and drops all others.
    ~OrderedWork();
    OrderedWork(const OrderedWork&) = delete;
    OrderedWork& operator=(const OrderedWork&) = delete;

    /// Calls `fill`, which adds the row, and works it off. What `fill` itself throws comes behind all that it
    /// added before.
    void run(const std::function<void()>& fill);
    /// Adds a task on about so many bytes, and what to do once it and all before it are done. There may be
    /// nothing but the latter. Makes room first, if there is none.
    void add(std::uint64_t bytes, Task task, Use use);
    /// What a task on so many bytes counts that keeps none of them for later.
    static std::uint64_t keepingNone(std::uint64_t bytes) { return std::min(bytes, std::uint64_t{1} << 20); }

private:
    struct Item {
        std::uint64_t bytes;
        Task task;
        Use use;
        bool isDone = false;
        std::exception_ptr failure = nullptr;

        void run(std::size_t worker) noexcept;
    };

    bool hasRoomFor(std::uint64_t bytes) const;
    void startWorker();
    void work(std::size_t worker);
    Item* claim();
    void finish();
    void step();
    void useFront(std::unique_lock<std::mutex>& lock);

    const std::size_t jobs_;
    const std::size_t maximumItems_;
    bool hasFailed_ = false;
    std::atomic<std::uint64_t> progress_ = 0;  ///< of the other threads, not told yet

    std::mutex mutex_;  ///< of all below
    std::condition_variable hasTask_;
    std::condition_variable isFrontDone_;
    std::deque<Item> items_;
    std::size_t claimed_ = 0;           ///< so many of the items, from the first one on, have begun
    std::uint64_t bytes_ = 0;           ///< of all items
    std::uint64_t unclaimedBytes_ = 0;  ///< of those that have not begun
    bool isStopping_ = false;
    std::vector<std::jthread> threads_;  ///< the last, so that they have ended before the others go
};
