#include "platform/zip/DigestBeside.h"

#include "platform/base/HUTProgress.h"
#include "platform/base/Threads.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace {

constexpr std::uint64_t worthAThread = std::uint64_t{1} << 20;

}  // namespace

DigestBeside::DigestBeside(const disk::FileDescriptor& file, ArchiveDigest digest, std::uint64_t position)
    : file_(file), told_(position), digest_(std::move(digest)), position_(position), end_(position) {}

DigestBeside::~DigestBeside() {
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
    }
    changed_.notify_all();
}

void DigestBeside::reach(std::uint64_t end) {
    {
        const std::lock_guard lock(mutex_);
        end_ = std::max(end_, end);
        if (end_ < position_ + worthAThread && !thread_.joinable()) return;
    }
    if (!thread_.joinable()) thread_ = startThread([this] { work(); });
    changed_.notify_all();
    tellProgress();
}

const ArchiveDigest& DigestBeside::finish(std::uint64_t end) {
    if (!thread_.joinable()) {
        digest_.add(file_, position_, end);
        return digest_;
    }
    constexpr std::chrono::milliseconds patience(5);
    reach(end);
    std::unique_lock lock(mutex_);
    while (position_ < end && !failure_) {
        changed_.wait_for(lock, patience, [&] { return position_ == end || failure_; });
        lock.unlock();
        tellProgress();
        lock.lock();
    }
    if (failure_) std::rethrow_exception(failure_);
    return digest_;
}

void DigestBeside::work() try {
    constexpr std::uint64_t stretch = std::uint64_t{1} << 20;
    HUTProgress::collectInto(progress_);
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [&] { return isStopping_ || position_ < end_; });
        if (isStopping_) return;
        const std::uint64_t begin = position_, end = std::min(end_, begin + stretch);
        lock.unlock();
        digest_.add(file_, begin, end);
        lock.lock();
        position_ = end;
        if (position_ == end_) changed_.notify_all();
    }
} catch (...) {
    const std::lock_guard lock(mutex_);
    failure_ = std::current_exception();
    changed_.notify_all();
}

void DigestBeside::tellProgress() {
    const std::uint64_t amount = progress_.exchange(0);
    told_ += amount;
    HUTProgress::advance(amount);
}
