#pragma once

#include "platform/files/Disk.h"
#include "platform/zip/ArchiveDigest.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>

/// Goes on with the digest of a file while that is written: in a thread of its own, once some MiB are there.
class DigestBeside {
public:
    /// @param digest of the bytes before `position`
    DigestBeside(const disk::FileDescriptor& file, ArchiveDigest digest, std::uint64_t position);
    ~DigestBeside();
    DigestBeside(const DigestBeside&) = delete;
    DigestBeside& operator=(const DigestBeside&) = delete;

    /// All bytes before `end` are in the file, and stay.
    void reach(std::uint64_t end);
    /// How much of the work of finish(end) progress was not told of yet.
    std::uint64_t untold(std::uint64_t end) const { return end - told_; }
    /// The digest of all bytes before `end`. Throws what reading the file did.
    const ArchiveDigest& finish(std::uint64_t end);

private:
    void work();
    void tellProgress();

    const disk::FileDescriptor& file_;
    std::uint64_t told_;
    ArchiveDigest digest_;                     ///< the thread's, while it is at work
    std::atomic<std::uint64_t> progress_ = 0;  ///< of the thread, not told yet

    std::mutex mutex_;  ///< of all below
    std::condition_variable changed_;
    std::uint64_t position_;
    std::uint64_t end_;
    bool isStopping_ = false;
    std::exception_ptr failure_;
    std::jthread thread_;
};
