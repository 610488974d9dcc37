#pragma once

#include "platform/files/Disk.h"
#include "platform/zip/ArchiveEntry.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

/// Writes an archive from front to back into an open, empty file: entries, then finish(), then the comment.
class ArchiveWriter {
public:
    explicit ArchiveWriter(const disk::FileDescriptor& file) : file_(file) {}

    /// Where the next byte goes.
    std::uint64_t position() const { return flushed_ + buffer_.size(); }
    void put(std::string_view bytes);
    /// Puts `size` bytes of another file.
    void copy(const disk::FileDescriptor& from, std::uint64_t offset, std::uint64_t size);
    /// Reads bytes that were put before and stay; the file must be open for that. Any thread may.
    void readBack(std::uint64_t offset, std::span<char> bytes);
    /// Changes bytes that were put before.
    void overwrite(std::uint64_t offset, std::string_view bytes);
    /// Takes back everything from `position` on.
    void rewind(std::uint64_t position);

    /// From now on tells up to where all bytes are in the file to stay, as often as that changes.
    void tellSettled(std::function<void(std::uint64_t end)> settled) { settled_ = std::move(settled); }

    /// Puts an entry's own header; sets the entry's offset.
    void putHeader(ArchiveEntry& entry);
    /// As putHeader, of an entry whose header is overwritten before the next one is put.
    void putUnfinishedHeader(ArchiveEntry& entry);
    /// Has the directory list the entry, whose bytes are in the file.
    void list(const ArchiveEntry& entry);

    /// Writes the directory and the end record without its comment. Returns where the comment's length goes.
    std::uint64_t finish();
    void putComment(std::string_view comment);

private:
    void flush();
    void moveOn(std::uint64_t size);

    const disk::FileDescriptor& file_;
    std::mutex mutex_;  ///< of what is not in the file yet
    std::string buffer_;
    std::uint64_t flushed_ = 0;
    std::optional<std::uint64_t> unfinished_;  ///< where bytes begin that are not there to stay
    std::function<void(std::uint64_t end)> settled_;
    std::string directory_;
    std::uint64_t count_ = 0;
};
