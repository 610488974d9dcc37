#include "platform/zip/ArchiveWriter.h"

#include "platform/base/HUTProgress.h"
#include "platform/zip/ZipFormat.h"

#include <algorithm>

namespace {

constexpr std::size_t bufferSize = std::size_t{1} << 20;

}  // namespace

void ArchiveWriter::put(std::string_view bytes) {
    const std::lock_guard lock(mutex_);
    if (buffer_.size() + bytes.size() > bufferSize) flush();
    if (bytes.size() >= bufferSize) {
        disk::writeAt(file_, flushed_, bytes);
        moveOn(bytes.size());
    } else {
        buffer_.append(bytes);
    }
}

void ArchiveWriter::copy(const disk::FileDescriptor& from, std::uint64_t offset, std::uint64_t size) {
    constexpr std::uint64_t stretch = std::uint64_t{32} << 20;
    const std::lock_guard lock(mutex_);
    flush();
    for (const std::uint64_t end = offset + size; offset < end;) {
        const std::uint64_t step = std::min(stretch, end - offset);
        disk::copy(from, offset, file_, flushed_, step);
        offset += step;
        moveOn(step);
        HUTProgress::advance(step);
    }
}

void ArchiveWriter::readBack(std::uint64_t offset, std::span<char> bytes) {
    std::size_t inFile = bytes.size();
    {
        const std::lock_guard lock(mutex_);
        if (offset + bytes.size() > flushed_) {
            inFile = flushed_ - std::min(offset, flushed_);
            buffer_.copy(bytes.data() + inFile, bytes.size() - inFile, offset + inFile - flushed_);
        }
    }
    disk::readExactly(file_, offset, bytes.data(), inFile);
}

void ArchiveWriter::overwrite(std::uint64_t offset, std::string_view bytes) {
    const std::lock_guard lock(mutex_);
    flush();
    disk::writeAt(file_, offset, bytes);
    unfinished_.reset();
}

void ArchiveWriter::rewind(std::uint64_t position) {
    const std::lock_guard lock(mutex_);
    flush();
    disk::truncate(file_, position);
    flushed_ = position;
}

void ArchiveWriter::putHeader(ArchiveEntry& entry) {
    entry.offset = position();
    put(zip_format::localHeader(entry));
}

void ArchiveWriter::putUnfinishedHeader(ArchiveEntry& entry) {
    unfinished_ = position();
    putHeader(entry);
}

void ArchiveWriter::list(const ArchiveEntry& entry) {
    directory_ += zip_format::directoryRecord(entry);
    ++count_;
}

std::uint64_t ArchiveWriter::finish() {
    const std::uint64_t directoryOffset = position();
    put(directory_);
    put(zip_format::endRecords(count_, directoryOffset, directory_.size()));
    const std::lock_guard lock(mutex_);
    flush();
    return flushed_;
}

void ArchiveWriter::putComment(std::string_view comment) {
    std::string bytes;
    zip_format::FieldWriter(bytes).u16(comment.size()).text(comment);
    put(bytes);
    const std::lock_guard lock(mutex_);
    flush();
}

void ArchiveWriter::flush() {
    disk::writeAt(file_, flushed_, buffer_);
    const std::size_t size = buffer_.size();
    buffer_.clear();
    moveOn(size);
}

/// So many bytes more are in the file.
void ArchiveWriter::moveOn(std::uint64_t size) {
    flushed_ += size;
    if (settled_) settled_(unfinished_.value_or(flushed_));
}
