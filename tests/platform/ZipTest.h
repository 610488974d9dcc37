#pragma once

#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"
#include "platform/zip/ArchiveEdit.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/HUTZip.h"
#include "tests/support/Environment.h"
#include "tests/support/Failure.h"
#include "tests/support/Faults.h"
#include "tests/support/TemporaryDirectory.h"

#include <algorithm>
#include <cstdlib>
#include <random>
#include <vector>

#include <boost/filesystem.hpp>
#include <gmock/gmock.h>

namespace fs = boost::filesystem;

using Contents = std::map<std::string, std::string>;

/// Bytes that no compression makes fewer, the same ones for a size.
inline std::string noise(std::size_t size) {
    std::mt19937_64 random(size);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

/// A directory of one's own with an archive path in it.
class ZipTest : public testing::Test {
protected:
    static std::string failureOf(const std::function<void()>& operation) {
        return ::failureOf<HEXAlgException>(operation);
    }
    static int run(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()); }
    std::string at(const std::string& name) const { return directory / name; }
    std::string write(const std::string& name, const std::string& bytes) const {
        return directory.file(name, bytes);
    }
    void edit(const std::function<void(ArchiveEdit&)>& operation) const {
        ArchiveEdit::run(archive, [&](ArchiveEdit& edit) {
            edit.useJobs(jobsOfTests());
            operation(edit);
        });
    }
    /// Makes another archive of all its members.
    void copyTo(const std::string& path) const {
        const auto from = ArchiveSnapshot::open(archive);
        ArchiveEdit::run(path, [&](ArchiveEdit& edit) {
            for (const ArchiveEntry& entry : from->entries())
                edit.addMember(from, entry);
        });
    }
    std::string bytesOfArchive() const { return HUTFile::readFile(archive); }

    std::vector<std::string> names() const {
        std::vector<std::string> result;
        const auto snapshot = ArchiveSnapshot::open(archive);
        for (const ArchiveEntry& entry : snapshot->entries())
            result.emplace_back(entry.name);
        return result;
    }
    /// What this library reads from the archive.
    Contents contents() const {
        Contents result;
        for (const std::string& name : names())
            result[name] = ArchiveSnapshot::open(archive)->read(name);
        return result;
    }
    /// Expects these contents and no flaws, whoever reads the archive.
    void expectSound(const Contents& expected) const {
        EXPECT_EQ(contents(), expected);
        for (const char* judge : {"unzip -tqq", "7zz t", "python3 -m zipfile -t"})
            EXPECT_EQ(run(judge + (" '" + archive + "'")), 0) << judge;
        for (const ArchiveFinding& finding : ArchiveSnapshot::open(archive)->check())
            ADD_FAILURE() << finding.text;
    }
    std::vector<std::string> filesBeside() const {
        std::vector<std::string> found;
        for (const auto& item : fs::directory_iterator(at("out")))
            found.push_back(item.path().filename().string());
        std::sort(found.begin(), found.end());
        return found;
    }

    TemporaryDirectory directory;
    std::string archive = (fs::create_directory(at("out")), at("out/a.kp"));
};
