#include "platform/zip/Iostreams.h"

#include "platform/base/Exceptions.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveEdit.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <exception>
#include <utility>

namespace isl::iostreams {
namespace {

/// A failure whose text is one sentence; the standard's own adds words of its own.
class StreamFailure : public std::ios_base::failure {
public:
    explicit StreamFailure(const std::string& text) : std::ios_base::failure(text), text_(text) {}
    const char* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};

[[noreturn]] void failNotOpen(const std::string& archive, const std::string& member,
                              const std::string& reason) {
    HUTInterrupt::check();
    throw StreamFailure(HUTPathUtils::quoted(member) + " of the archive " + HUTPathUtils::quoted(archive) +
                        " is not open" + (reason.empty() ? "" : ": ") + reason);
}

}  // namespace

std::vector<std::string> zip::get_files(const std::string& archive) {
    const auto snapshot = ArchiveSnapshot::open(archive);
    std::vector<std::string> names;
    for (const ArchiveEntry& entry : snapshot->entries())
        if (!entry.isDirectory()) names.emplace_back(entry.name);
    return names;
}

bool zip::is_dir(const std::string& archive, const std::string& name) {
    return ArchiveSnapshot::open(archive)->isDirectory(name);
}

namespace device {

struct file_source::State {
    std::string archive;
    std::string member;
    std::unique_ptr<MemberStream> stream;
    std::string reason;      ///< why it is not open
    std::uint64_t size = 0;  ///< as the archive states it

    void open(const ArchiveSnapshot& version) {
        const ArchiveEntry* entry = version.find(member);
        if (entry == nullptr || entry->isDirectory()) {
            reason = "there is no such file";
        } else {
            stream = version.stream(*entry);
            size = entry->size;
        }
    }
};

file_source::file_source(const std::string& archive, const std::string& member,
                         const std::shared_ptr<const ArchiveSnapshot>& version)
    : state_(std::make_shared<State>(State{archive, member, nullptr, ""})) {
    try {
        state_->open(version ? *version : *ArchiveSnapshot::open(archive));
    } catch (const std::exception& failure) {
        state_->reason = failure.what();
    }
}

bool file_source::is_open() const noexcept {
    return state_->stream != nullptr;
}

std::uint64_t file_source::size() const noexcept {
    return state_->size;
}

std::streamsize file_source::read(char* buffer, std::streamsize size) {
    if (!is_open()) failNotOpen(state_->archive, state_->member, state_->reason);
    if (size == 0) return 0;
    try {
        const std::size_t got = state_->stream->read(buffer, static_cast<std::size_t>(size));
        return got == 0 ? -1 : static_cast<std::streamsize>(got);
    } catch (const HEXAlgException& failure) {
        throw StreamFailure(failure.what());
    }
}

void file_source::close() noexcept {
    state_->stream.reset();
}

struct file_sink::State {
    std::string archive;
    std::string member;
    std::string bytes;
    bool isOpen = false;
    int exceptionsBefore = std::uncaught_exceptions();

    bool canOpen() const {
        if (!unsafeNameReason(member).empty() || member.ends_with('/')) return false;
        const std::string directory = HUTPathUtils::parent(archive);
        if (!disk::isWritable(directory)) return false;
        return !HUTFile::exists(archive) || ArchiveSnapshot::open(archive) != nullptr;
    }
};

file_sink::file_sink(const std::string& archive, const std::string& member)
    : state_(std::make_shared<State>(State{archive, member, ""})) {
    try {
        state_->isOpen = state_->canOpen();
    } catch (const std::exception&) {
        state_->isOpen = false;
    }
}

bool file_sink::is_open() const noexcept {
    return state_->isOpen;
}

std::streamsize file_sink::write(const char* bytes, std::streamsize size) {
    if (!is_open()) failNotOpen(state_->archive, state_->member, "");
    state_->bytes.append(bytes, static_cast<std::size_t>(size));
    return size;
}

void file_sink::close() {
    const bool wasOpen = std::exchange(state_->isOpen, false);
    if (!wasOpen || std::uncaught_exceptions() > state_->exceptionsBefore) return;
    ArchiveEdit::run(state_->archive,
                     [&](ArchiveEdit& edit) { edit.addBytes(state_->member, state_->bytes); });
}

}  // namespace device
}  // namespace isl::iostreams
