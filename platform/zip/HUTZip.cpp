#include "platform/zip/HUTZip.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveEdit.h"
#include "platform/zip/ArchiveExtraction.h"
#include "platform/zip/ArchiveSnapshot.h"

namespace {

/// An edit of an archive that is to be there already.
void change(const std::string& archive, const std::function<void(ArchiveEdit&)>& operation) {
    ArchiveEdit edit(archive);
    if (!edit.exists())
        throw HEXAlgException("The archive " + HUTPathUtils::quoted(archive) + " does not exist");
    operation(edit);
    edit.commit();
}

void attach(const std::string& archive, ArchiveDigest::Label label) {
    change(archive, [&](ArchiveEdit& edit) { edit.seal(label); });
}

int checkDigest(const std::string& archive, ArchiveDigest::Label label) {
    try {
        return static_cast<int>(ArchiveSnapshot::open(archive)->checkDigest(label));
    } catch (const HEXAlgException&) {
        return static_cast<int>(DigestVerdict::Unreadable);
    }
}

}  // namespace

void HUTZip::compress(const std::string& archive, const std::vector<std::string>& files,
                      const std::string& folder) {
    ArchiveEdit::run(archive, [&](ArchiveEdit& edit) { edit.addFiles(folder, files); });
}

void HUTZip::compressDir(const std::string& archive, const std::string& directory,
                         const std::string& folder) {
    ArchiveEdit::run(archive, [&](ArchiveEdit& edit) { edit.addTree(folder, directory); });
}

void HUTZip::uncompressDir(const std::string& archive, const std::string& folder,
                           const std::string& directory, int option) {
    if (option != 1)
        throw HEXAlgException("There is no option " + std::to_string(option) + " of extracting an archive");
    ExtractionPlan plan(ArchiveSnapshot::open(archive));
    plan.addFolder(folder);
    extractArchive(plan, directory);
}

bool HUTZip::containsFile(const std::string& archive, const std::string& name) {
    return !ArchiveSnapshot::open(archive)->positionsNamed(name).empty();
}

void HUTZip::deleteFilesFromZip(const std::string& archive, const std::vector<std::string>& names) {
    change(archive, [&](ArchiveEdit& edit) {
        for (const std::string& name : names)
            edit.deleteFile(name);
    });
}

void HUTZip::deleteFolderFromZip(const std::string& archive, const std::string& folder) {
    change(archive, [&](ArchiveEdit& edit) { edit.deleteFolder(folder); });
}

void HUTZip::attachDigest(const std::string& archive) {
    attach(archive, ArchiveDigest::Label::Sha1);
}

void HUTZip::attachDigestEn(const std::string& archive) {
    attach(archive, ArchiveDigest::Label::Sha256);
}

int HUTZip::checkIntegrity(const std::string& archive) {
    return checkDigest(archive, ArchiveDigest::Label::Sha1);
}

int HUTZip::checkIntegrityEn(const std::string& archive) {
    return checkDigest(archive, ArchiveDigest::Label::Sha256);
}
