#pragma once

#include "platform/base/Export.h"
#include "platform/zip/ArchiveDigest.h"

#include <optional>
#include <string>
#include <vector>

/// Two packages held against each other: what differs, and what that means for who uses them. Nothing is
/// extracted, changed or printed.
namespace kfab::compare {

/// What a difference means for host code and links that were made for the old package; the worst is the last.
enum class Kind {
    Inside,      ///< they do not see it: bytes of files, figures, texts that nobody calls by
    Compatible,  ///< they go on working
    Breaking,    ///< they may fail
};

enum class Change { Changed, Added, Removed };

/// Which number of its version (major.minor.patch) the new package is to raise.
enum class Verdict { Same, Patch, Minor, Major };

struct Difference {
    std::string kernel;  ///< its name in the manifest; empty for what is the package's as a whole
    Kind kind = Kind::Inside;
    Change change = Change::Changed;
    /// What differs, such as "argument 'length'"; empty for the kernel or the package itself. Names in it are
    /// fit for a terminal.
    std::string path = {};
    /// What of it has changed, as the document calls it; "size", "checksum" or "bytes" of a file, "files" of
    /// an IP; empty for what was added or removed.
    std::string field = {};
    /// As found, and none where there is none. Of what was added or removed it is the name.
    std::optional<std::string> oldText = {}, newText = {};
    bool isNumber = false;               ///< whether both are, unless there is none
    std::optional<double> percent = {};  ///< of a report's figure: how much larger it became
};

struct KP_EXPORT Comparison {
    std::vector<Difference> differences;
    DigestVerdict oldDigest = DigestVerdict::Unreadable;
    DigestVerdict newDigest = DigestVerdict::Unreadable;
    /// What makes the answer less sure: sentences about digests that do not hold and documents of which not
    /// all is known.
    std::vector<std::string> notes;

    Verdict verdict() const;
};

/// All that differs between two packages, or between the kernels of one name, without regard to case, in
/// both. The order of kernels, times, permissions and empty directories do not count. Of kernels that share
/// an IP the first one has the differences of its files. Throws HEXFileNotFoundException when one is not
/// there, HEXAlgException and HEXAll when one, its manifest, a description or a member that has to be read
/// cannot be read, and when neither has the kernel.
KP_EXPORT Comparison comparePackages(const std::string& oldPackage, const std::string& newPackage,
                                     const std::optional<std::string>& kernel = {});

/// "breaking", "compatible" or "inside"; "changed", "added" or "removed"; "major", "minor", "patch" or
/// "same".
/// @{
KP_EXPORT const char* textOf(Kind kind);
KP_EXPORT const char* textOf(Change change);
KP_EXPORT const char* textOf(Verdict verdict);
/// @}

/// A line for people, such as "vadd: breaking: argument 'length': offset 0x34 -> 0x38". Long texts are cut.
KP_EXPORT std::string lineOf(const Difference& difference);

}  // namespace kfab::compare
