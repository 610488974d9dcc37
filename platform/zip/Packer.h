#pragma once

#include "platform/base/OrderedWork.h"
#include "platform/zip/ArchiveEntry.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/ArchiveWriter.h"
#include "platform/zip/Buffer.h"
#include "platform/zip/PackedContents.h"

#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Compresses bytes, files and directories into an archive, as a row of work: whatever thread takes part
/// reads and deflates, with one compressor and three buffers of a piece (see DeflatePieces), and the row's
/// own thread writes. What is added is in the archive once the row is worked off; till then it must stay.
class Packer {
public:
    Packer(ArchiveWriter& writer, std::size_t jobs);
    ~Packer();

    /// Calls `fill`, which adds, and packs what it adds.
    void run(const std::function<void()>& fill) { work_.run(fill); }

    /// Throws when the path is not that of a file that can be read.
    static void requireFile(const std::string& path);

    void addBytes(std::string_view name, std::string_view bytes, std::time_t modified);
    /// The row fails when the file changes while it is read.
    void addFile(std::string_view name, const std::string& path);
    void addDirectory(std::string_view name, const std::string& path);
    /// Copies the stored bytes of another archive's member, with its name, time and permissions and nothing
    /// else that its entry holds.
    void addMember(const ArchiveSnapshot& archive, const ArchiveEntry& member);

private:
    class Source;
    class GivenBytes;
    class SourceFile;
    struct Tools;
    struct Content;
    struct LargeMember;

    void add(const ArchiveEntry& entry, const std::shared_ptr<const Source>& source);
    void addWhole(const ArchiveEntry& entry, const std::shared_ptr<const Source>& source);
    void addPieces(const ArchiveEntry& entry, const std::shared_ptr<const Source>& source);

    // By any thread
    Tools& toolsOf(std::size_t worker);
    Content pack(Tools& tools, const Source& source, std::uint64_t offset, PackedContents::Key key) const;

    // By the row's own thread
    void putWhole(ArchiveEntry entry, const Content& content);
    void putPiece(LargeMember& member, const Content& content);
    void finish(LargeMember& member);
    void store(LargeMember& member);
    void copy(const ArchiveSnapshot& archive, const ArchiveEntry& member);

    ArchiveWriter& writer_;
    PackedContents contents_;
    std::vector<std::unique_ptr<Tools>> tools_;  ///< by worker
    Buffer copied_;
    OrderedWork work_;  ///< ends before the rest
};
