#pragma once

#include "platform/base/Export.h"

#include <string>
#include <vector>

/// Operations on zip archives, each one whole edit: it is done completely or not at all. A folder is a name
/// inside the archive such as "k/pdi"; the empty one is the top. What fails throws HEXAlgException.
class KP_EXPORT HUTZip {
public:
    /// Adds regular files under their base names; creates the archive where missing. Two files of one base
    /// name are refused before anything is written.
    static void compress(const std::string& archive, const std::vector<std::string>& files,
                         const std::string& folder);
    /// Adds all that lies below a directory; creates the archive where missing.
    static void compressDir(const std::string& archive, const std::string& directory,
                            const std::string& folder);
    /// Extracts a folder, the empty one being all of the archive, under the names it has there to a directory
    /// (see extractArchive). An archive that lacks the folder gives nothing. The only `option` is 1: files
    /// that are there are replaced.
    static void uncompressDir(const std::string& archive, const std::string& folder,
                              const std::string& directory, int option = 1);
    static bool containsFile(const std::string& archive, const std::string& name);
    /// Names that the archive lacks are passed over.
    static void deleteFilesFromZip(const std::string& archive, const std::vector<std::string>& names);
    static void deleteFolderFromZip(const std::string& archive, const std::string& folder);

    /// Seals the archive with the digest of formats 1.1 and of formats from 2 on.
    static void attachDigest(const std::string& archive);
    static void attachDigestEn(const std::string& archive);
    /// 0 when the digest holds, 1 when there is none, 2 when it differs, 3 when the file cannot be read as an
    /// archive.
    static int checkIntegrity(const std::string& archive);
    static int checkIntegrityEn(const std::string& archive);
};
