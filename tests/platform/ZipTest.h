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
#include <map>
#include <random>
#include <string>
#include <vector>

#include <boost/filesystem.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zip.h>

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
        ArchiveEdit::run(archive, operation);
    }
    std::string bytesOfArchive() const { return HUTFile::readFile(archive); }

    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const ArchiveEntry& entry : ArchiveSnapshot::open(archive)->entries())
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
    /// What another zip library reads from the archive, in its strictest mode.
    Contents contentsByLibzip() const {
        zip_t* opened = zip_open(archive.c_str(), ZIP_RDONLY | ZIP_CHECKCONS, nullptr);
        if (opened == nullptr) return {{"libzip", "refuses it"}};
        Contents result;
        zip_stat_t stat;
        for (zip_uint64_t i = 0; zip_stat_index(opened, i, ZIP_FL_ENC_RAW, &stat) == 0; ++i) {
            std::string& bytes = result[stat.name];
            bytes.resize(stat.size);
            zip_file_t* file = zip_fopen_index(opened, i, 0);
            zip_fread(file, bytes.data(), stat.size);
            zip_fclose(file);
        }
        zip_discard(opened);
        return result;
    }
    /// Expects these contents, whoever reads the archive, and no flaws.
    void expectSound(const Contents& expected) const {
        EXPECT_EQ(contents(), expected);
        EXPECT_EQ(contentsByLibzip(), expected);
        EXPECT_EQ(run("unzip -tqq '" + archive + "'"), 0);
        EXPECT_EQ(run("python3 -m zipfile -t '" + archive + "'"), 0);
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
