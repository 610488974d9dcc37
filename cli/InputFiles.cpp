#include "cli/InputFiles.h"

#include "containers/kp/PackageLayout.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTFileUtils.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/params/HUTEnv.h"
#include "platform/xml/Limits.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

#include <CLI/Validators.hpp>
#include <fcntl.h>
#include <unistd.h>

namespace cli {
namespace {

constexpr const char* standardInput = "/dev/stdin";

[[noreturn]] void fail() {
    throw HEXAlgException("Failed to read standard input: " + std::generic_category().message(errno));
}

void copyStandardInput(const disk::FileDescriptor& to) {
    std::array<char, 1 << 16> piece{};
    std::uint64_t written = 0;
    while (written <= lmx60::maximumDocument) {  // beyond that no reader takes it
        HUTInterrupt::check();
        const ssize_t got = ::read(STDIN_FILENO, piece.data(), piece.size());
        if (got < 0 && errno != EINTR) fail();
        if (got == 0) return;
        if (got < 0) continue;
        disk::writeAt(to, written, {piece.data(), static_cast<std::size_t>(got)});
        written += static_cast<std::uint64_t>(got);
    }
}

/// Puts a file that can be read again and again in place of standard input. It has no name any more, and so
/// goes with the process however that ends.
void spoolStandardInput() {
    disk::FileDescriptor spool;
    {
        const ScratchDirectory scratch(HUTEnv::getTKQTmpDir(), ".stdin");
        spool = disk::open(HUTPathUtils::join(scratch.path(), "stdin"), O_RDWR | O_CREAT | O_EXCL, 0600);
    }
    copyStandardInput(spool);
    if (::dup2(spool.number(), STDIN_FILENO) < 0) fail();
}

bool holdsPackage(const std::string& path) {
    constexpr std::string_view signature = "PK\3\4";
    std::array<char, signature.size()> begin{};
    if (path.empty() || !HUTFile::isFile(path)) return false;
    const std::size_t size = disk::readAt(disk::open(path, O_RDONLY), 0, begin.data(), begin.size());
    if (std::string_view(begin.data(), size) != signature) return false;
    try {
        return ArchiveSnapshot::open(path)->find(layout::manifest) != nullptr;
    } catch (const HEXAlgException&) {
        return false;
    }
}

void requireDocument(const std::string& path) {
    if (holdsPackage(path))
        throw HEXAlgException(
            "'" + path +
            "' is a package and no XML document; 'kp info' shows what it holds, 'kp cat' its files");
}

}  // namespace

bool isPackage(const std::string& path) {
    return path != standardInput && holdsPackage(path);
}

CLI::Option* InputFiles::add(const std::string& names, std::string& path, const std::string& help) {
    documents_.push_back(&path);
    return addOrPackage(names, path, help);
}

CLI::Option* InputFiles::addOrPackage(const std::string& names, std::string& path, const std::string& help) {
    const auto understand = [isUsed = usesStandardInput_](std::string& value) -> std::string {
        if (value != "-") return {};
        if (*isUsed) return "standard input can be only one of the files";
        *isUsed = true;
        value = standardInput;
        return {};
    };
    return app_.add_option(names, path, help + "; - is standard input")
        ->transform(CLI::Validator(understand, ""))
        ->type_name("FILE");
}

std::function<void()> InputFiles::fetch() const {
    return [isUsed = usesStandardInput_, documents = documents_] {
        if (*isUsed) {
            spoolStandardInput();
            requireDocument(standardInput);
        }
        for (const std::string* path : documents)
            requireDocument(*path);
    };
}

}  // namespace cli
