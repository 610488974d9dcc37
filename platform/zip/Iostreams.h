#pragma once

#include "platform/base/Export.h"

#include <cstdint>
#include <ios>
#include <memory>
#include <string>
#include <vector>

#include <boost/iostreams/categories.hpp>

class ArchiveSnapshot;

namespace isl::iostreams::zip {

/// The names of the archive's files (not directories), in archive order. Throws HEXAlgException for what is
/// not a readable archive.
KP_EXPORT std::vector<std::string> get_files(const std::string& archive);

/// Whether the archive holds a directory of this name, be it only implied by a file below it. "." and the
/// empty name are the archive's top.
KP_EXPORT bool is_dir(const std::string& archive, const std::string& name);

}  // namespace isl::iostreams::zip

namespace isl::iostreams::device {

/// A member of an archive as a Boost.Iostreams source. Not open when the archive or the member cannot be
/// read; a member of up to 16 MiB is read and checked whole at construction, a larger one while reading.
///
/// Reading from what is not open because work was called off meanwhile throws HEXInterrupted.
class KP_EXPORT file_source {
public:
    using char_type = char;
    struct category : boost::iostreams::source_tag, boost::iostreams::closable_tag {};

    /// @param version of the archive; none for the one that is there now
    file_source(const std::string& archive, const std::string& member,
                const std::shared_ptr<const ArchiveSnapshot>& version = nullptr);

    bool is_open() const noexcept;
    /// The size that the archive states, beyond which no byte is read; 0 when not open.
    std::uint64_t size() const noexcept;
    /// Up to `size` bytes; -1 at the end. Throws std::ios_base::failure when not open or when the data are
    /// bad.
    std::streamsize read(char* buffer, std::streamsize size);
    void close() noexcept;

private:
    struct State;
    std::shared_ptr<State> state_;
};

/// A member of an archive as a Boost.Iostreams sink. close() adds or replaces the member, in one edit, and
/// throws what fails there; a sink that is never closed, or closed by an exception on its way, changes
/// nothing.
class KP_EXPORT file_sink {
public:
    using char_type = char;
    struct category : boost::iostreams::sink_tag, boost::iostreams::closable_tag {};

    file_sink(const std::string& archive, const std::string& member);

    /// Whether the archive is one or could be created, its directory can be written, and the member's name is
    /// that of a file and safe; false once closed.
    bool is_open() const noexcept;
    /// Throws std::ios_base::failure when not open.
    std::streamsize write(const char* bytes, std::streamsize size);
    void close();

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace isl::iostreams::device
