#include "platform/base/OrderedWork.h"

#include "platform/base/HUTProgress.h"
#include "platform/base/Threads.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <sys/resource.h>

namespace {

constexpr std::uint64_t bytesOfJob = std::uint64_t{8} << 20;
/// A thread pays from there on.
constexpr std::uint64_t bytesOfThread = std::uint64_t{1} << 19;
/// What a task of few bytes takes at least, such as opening a file, is the time for so many bytes.
constexpr std::uint64_t leastBytes = std::uint64_t{1} << 13;

std::size_t maximumItems() {
    constexpr rlim_t most = 1024;
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    return std::clamp<rlim_t>(files.rlim_cur / 4, 1, most);
}

/// Whether the condition, which the mutex of `lock` guards, holds within a moment: less than a thread that
/// sleeps needs to be woken, above all on a virtual machine, whose processor may have gone to sleep with it.
template <class Condition>
bool holdsSoon(std::unique_lock<std::mutex>& lock, const Condition& condition) {
    using std::chrono::steady_clock;
    const steady_clock::time_point end = steady_clock::now() + std::chrono::microseconds(200);
    while (!condition()) {
        if (steady_clock::now() > end) return false;
        lock.unlock();
        std::this_thread::yield();
        lock.lock();
    }
    return true;
}

}  // namespace

void OrderedWork::Item::run(std::size_t worker) noexcept {
    try {
        if (task) task(worker);
    } catch (...) {
        failure = std::current_exception();
    }
    task = nullptr;
}

OrderedWork::OrderedWork(std::size_t jobs) : jobs_(jobs), maximumItems_(maximumItems()) {}

OrderedWork::~OrderedWork() {
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
    }
    hasTask_.notify_all();
}

void OrderedWork::run(const std::function<void()>& fill) {
    try {
        fill();
    } catch (...) {
        finish();
        throw;
    }
    finish();
}

void OrderedWork::add(std::uint64_t bytes, Task task, Use use) {
    bytes = task ? std::max(bytes, leastBytes) : 0;
    while (!hasRoomFor(bytes))
        step();
    std::unique_lock lock(mutex_);
    items_.push_back({bytes, std::move(task), std::move(use)});
    bytes_ += bytes;
    unclaimedBytes_ += bytes;
    const bool pays = unclaimedBytes_ >= bytesOfThread;
    lock.unlock();
    if (jobs_ == 1) return finish();
    if (pays && threads_.size() + 1 < jobs_) startWorker();
    hasTask_.notify_one();
}

bool OrderedWork::hasRoomFor(std::uint64_t bytes) const {
    return items_.empty() || (items_.size() < maximumItems_ && bytes_ + bytes <= jobs_ * bytesOfJob);
}

void OrderedWork::startWorker() {
    std::jthread thread = startThread([this, worker = threads_.size() + 1] { work(worker); });
    if (thread.joinable()) threads_.push_back(std::move(thread));
}

void OrderedWork::work(std::size_t worker) {
    HUTProgress::collectInto(progress_);
    std::unique_lock lock(mutex_);
    for (;;) {
        const auto mayGoOn = [&] { return isStopping_ || claimed_ < items_.size(); };
        if (!holdsSoon(lock, mayGoOn)) hasTask_.wait(lock, mayGoOn);
        if (isStopping_) return;
        Item* const item = claim();
        lock.unlock();
        item->run(worker);
        lock.lock();
        item->isDone = true;
        if (item == &items_.front()) isFrontDone_.notify_one();
    }
}

/// The first item that nobody has begun; none when there is none.
OrderedWork::Item* OrderedWork::claim() {
    if (claimed_ == items_.size()) return nullptr;
    Item& item = items_[claimed_++];
    unclaimedBytes_ -= item.bytes;
    return &item;
}

void OrderedWork::finish() {
    while (!hasFailed_ && !items_.empty())
        step();
}

/// Uses the first item if it is done, else works one off, else waits a while; then tells what the others did.
void OrderedWork::step() try {
    constexpr std::chrono::milliseconds patience(5);
    std::unique_lock lock(mutex_);
    if (items_.front().isDone) {
        useFront(lock);
    } else if (Item* const item = claim()) {
        lock.unlock();
        item->run(0);
        item->isDone = true;  // which no other thread asks for
    } else {
        const auto isFrontDone = [&] { return items_.front().isDone; };
        if (!holdsSoon(lock, isFrontDone)) isFrontDone_.wait_for(lock, patience, isFrontDone);
        lock.unlock();
    }
    HUTProgress::advance(progress_.exchange(0));
} catch (...) {
    hasFailed_ = true;
    throw;
}

void OrderedWork::useFront(std::unique_lock<std::mutex>& lock) {
    const Item item = std::move(items_.front());
    items_.pop_front();
    --claimed_;
    bytes_ -= item.bytes;
    lock.unlock();
    if (item.failure) std::rethrow_exception(item.failure);
    if (item.use) item.use();
}
