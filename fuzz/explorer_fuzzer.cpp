// The package explorer against a plain walk over the names of a package. The input's lines are the name of a
// kernel, the name of a file, and the names in the package.

#include "containers/explorer/ArchiveExplorer.h"
#include "platform/zip/ZipFormat.h"

#include <algorithm>
#include <vector>

#include "fuzz/Fuzz.h"
#include <boost/algorithm/string.hpp>

namespace {

using fuzz::require;
using Texts = std::vector<std::string>;

std::string archiveOf(const Texts& names) {
    std::string bytes, directory;
    for (const std::string& name : names) {
        ArchiveEntry entry;
        entry.name = name;
        entry.offset = bytes.size();
        bytes += zip_format::localHeader(entry);
        directory += zip_format::directoryRecord(entry);
    }
    const std::size_t offset = bytes.size();
    const std::string end = zip_format::endRecords(names.size(), offset, directory.size());
    return bytes + directory + end + std::string(2, '\0');  // an empty comment
}

Texts split(std::string_view text, const char* separator) {
    Texts parts;
    boost::split(parts, text, boost::is_any_of(separator));
    return parts;
}

bool isFile(const std::string& name) {
    return !name.ends_with('/');
}

/// The directory of the first file of this name with the kernel's name on its way; "none" when there is none.
std::string directoryByWalk(const Texts& names, const std::string& kernel, const std::string& file) {
    for (const std::string& name : names) {
        const Texts components = split(name, "/");
        if (!isFile(name) || components.back() != file) continue;
        if (std::find(components.begin(), components.end(), kernel) == components.end()) continue;
        return name.substr(0, name.size() - file.size());
    }
    return "none";
}

Texts filesByWalk(const Texts& names, const std::string& prefix) {
    Texts files;
    std::copy_if(names.begin(), names.end(), std::back_inserter(files), [&](const std::string& name) {
        return isFile(name) && boost::istarts_with(name, prefix, std::locale::classic());
    });
    return files;
}

bool isDirectoryByWalk(const Texts& names, const std::string& directory) {
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return name.starts_with(directory + "/"); });
}

/// A directory as the explorer shows it, but for "/" at its end.
std::string shown(const std::string& root, std::string directory) {
    if (directory == "none") return "";
    boost::trim_right_if(directory, boost::is_any_of("/"));
    boost::trim_left_if(directory, boost::is_any_of("/"));
    return directory.empty() ? root : root + "/" + directory;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::Scratch scratch;
    const std::string_view input = fuzz::text(data, size);
    if (fuzz::mayEndArchive(input)) return -1;
    Texts names = split(input, "\n");
    if (names.size() < 3) return -1;
    const std::string kernel = names[0], file = names[1];
    names.erase(names.begin(), names.begin() + 2);
    if (kernel.empty() || file.empty()) return -1;

    const kfab::kernel::ArchiveExplorer explorer(scratch.file("p.kp", archiveOf(names)), nullptr, true);
    const std::string root = explorer.getRoot();
    const auto expected = [&](const std::string& name) {
        return shown(root, directoryByWalk(names, kernel, name));
    };
    require(explorer.getPath(kernel, file) == expected(file), "a path is the first file's");
    const std::string kernelRoot = expected("kernel.xml");
    require(explorer.getKernelDefRoot(kernel) == kernelRoot, "a kernel lies where its description does");
    require(explorer.getPdiFilesRoot(kernel) == (kernelRoot.empty() ? "" : kernelRoot + "/pdi"),
            "folders lie in the kernel's");

    Texts sources, emulation;
    explorer.getCpuSources(kernel, sources);
    explorer.getSwEmuFiles(kernel, emulation);
    require(sources == filesByWalk(names, kernel + "/cpu_sources"), "sources are those of the kernel");
    require(emulation == filesByWalk(names, kernel + "/sw_emu"), "emulation files are those of the kernel");
    const bool isComponent = kernel.find('/') == std::string::npos && kernel != "." && kernel != "..";
    require(!isComponent || explorer.existsDir(root + "/" + kernel) == isDirectoryByWalk(names, kernel),
            "a directory is what something lies below");
    return 0;
}
