#pragma once

#include "platform/base/Exceptions.h"
#include "platform/base/Export.h"
#include "platform/zip/ArchiveChanges.h"
#include "platform/zip/ArchiveDigest.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <algorithm>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

class ArchiveLock;
class ArchiveWriter;
class DigestBeside;
class HUTProgress;
class Packer;
class PendingFile;

/// An edit began without an archive, and somebody else created one before the commit. The operation is to
/// start over.
class KP_EXPORT ArchiveCreatedMeanwhile : public HEXAlgException {
public:
    using HEXAlgException::HEXAlgException;
    ~ArchiveCreatedMeanwhile() override;
};

/// One transaction on one archive. Changes are staged, then committed all at once; until then, and when
/// anything fails, the archive stays as it was. Failures are HEXAlgException.
///
/// An existing archive is locked from the constructor on, so that other edits of it wait. A path that is a
/// symbolic link edits the file that the link leads to. Permission bits stay, and the owner as far as the
/// process may set it.
class KP_EXPORT ArchiveEdit {
public:
    explicit ArchiveEdit(const std::string& path);
    ~ArchiveEdit();
    ArchiveEdit(const ArchiveEdit&) = delete;
    ArchiveEdit& operator=(const ArchiveEdit&) = delete;

    /// Runs `operation` on an edit of the archive and commits it, again from the start whenever another
    /// writer created the archive first.
    static void run(const std::string& path, const std::function<void(ArchiveEdit&)>& operation);

    /// Whether there was an archive when the edit began; if so, what it held.
    bool exists() const { return snapshot_ != nullptr; }
    const std::shared_ptr<const ArchiveSnapshot>& snapshot() const { return snapshot_; }

    /// @name Adding
    /// An entry that the archive holds under the name is replaced; a name added twice is refused. Folders are
    /// names such as "k/pdi"; the empty one is the archive's top.
    /// @{

    void addBytes(const std::string& name, std::string bytes);
    /// As addBytes, but behind everything else in the archive.
    void addLast(const std::string& name, std::string bytes);
    /// The regular file is read at the commit; one that changes meanwhile makes it fail.
    void addFile(const std::string& name, const std::string& path);
    /// Adds each file under its base name. Two of one base name are refused.
    void addFiles(const std::string& folder, const std::vector<std::string>& paths);
    /// Adds all that lies below the directory (see DirectoryTree), empty directories included.
    void addTree(const std::string& folder, const std::string& directory);
    /// Adds an entry of another archive under its name, as the bytes that are stored there. Refused for one
    /// that no extraction takes, and at the commit for one that overlaps another that is added.
    void addMember(const std::shared_ptr<const ArchiveSnapshot>& archive, const ArchiveEntry& member);
    /// Gives what addBytes and addLast add the time of the youngest member instead of the current one.
    void dateBytesByMembers() { datesBytesByMembers_ = true; }

    /// @}
    /// @name Deleting
    /// From the archive and from what was added before. Quiet when there is nothing of the name.
    /// @{

    void deleteFile(const std::string& name);
    /// Also the folder's own entry.
    void deleteFolder(const std::string& folder);

    /// @}

    /// Asks for a digest as the archive's comment. Without it the comment stays as it was.
    void seal(ArchiveDigest::Label label = ArchiveDigest::Label::Sha256) { seal_ = label; }

    /// How many threads may take part in the commit, the calling one among them. The bytes that it writes do
    /// not depend on that. Each takes up to 16 MiB.
    void useJobs(std::size_t jobs) { jobs_ = std::max<std::size_t>(jobs, 1); }

    /// What commit would change; nothing is. Throws as commit would, but for what only writing can tell, such
    /// as a disk that is full.
    ArchiveChanges rehearse() const;

    /// Writes the new archive, if there is any change, and puts it in place; the edit is over then. Throws
    /// ArchiveCreatedMeanwhile when the archive did not exist at first and does now.
    void commit();

private:
    struct Addition {
        enum class Kind { Bytes, File, Directory, Member };

        Kind kind = Kind::Bytes;
        std::string name;
        std::string source;  ///< the bytes, or the path of the file, directory or archive
        bool isLast = false;
        bool isDeleted = false;
        std::shared_ptr<const ArchiveSnapshot> archive = {};  ///< of a member
        const ArchiveEntry* member = nullptr;
    };
    using Positions = std::map<std::string, std::size_t>;

    void requireOutside(const std::string& directory) const;
    void add(Addition addition);
    void requireNoClash(const std::string& name);
    void deleteAdded(Positions::iterator begin, Positions::iterator end);
    std::vector<const Addition*> additionsInOrder() const;
    bool changesAnything() const;
    void requireMembersCopyable() const;
    void requireMembersUntouched() const;
    std::map<const ArchiveSnapshot*, std::vector<std::uint32_t>> membersAdded() const;
    bool isThere(const Addition& addition, std::span<const std::uint32_t> positions) const;
    std::uint64_t write(const disk::FileDescriptor& file);
    std::uint64_t contentSize() const;
    std::vector<std::uint32_t> keptPositions() const;
    std::time_t timeOfBytes() const;
    void pack(ArchiveWriter& writer);
    static void pack(const Addition& addition, Packer& packer, std::time_t now);
    DigestBeside digestOf(const disk::FileDescriptor& file, std::uint64_t keptPrefix) const;
    void putInPlace(PendingFile& pending);

    std::string target_;  ///< the path with links followed
    std::unique_ptr<ArchiveLock> lock_;
    std::shared_ptr<const ArchiveSnapshot> snapshot_;
    std::vector<bool> isDeleted_;  ///< by position in the snapshot
    std::vector<Addition> additions_;
    Positions added_;  ///< of what was added and not deleted, in the list of additions
    std::optional<ArchiveDigest::Label> seal_;
    bool datesBytesByMembers_ = false;
    std::size_t jobs_ = 1;
};
