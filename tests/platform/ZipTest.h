#pragma once

#include "platform/base/Exceptions.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/zip/ArchiveEdit.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/HUTZip.h"
#include "tests/support/Environment.h"
#include "tests/support/TemporaryDirectory.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <boost/filesystem.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zip.h>

namespace fs = boost::filesystem;

using Contents = std::map<std::string, std::string>;

/// The text of the exception that the operation throws; "none" when it throws none.
inline std::string failureOf(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const HEXAlgException& failure) {
        return failure.what();
    }
    return "none";
}

/// A directory of one's own with an archive path in it.
class ZipTest : public testing::Test {
protected:
    std::string at(const std::string& name) const { return directory / name; }
    std::string write(const std::string& name, const std::string& bytes) const {
        return directory.file(name, bytes);
    }
    void edit(const std::function<void(ArchiveEdit&)>& operation) const {
        ArchiveEdit::run(archive, operation);
    }
    std::string bytesOfArchive() const { return HUTFile::readFile(archive); }

    /// What this library reads from the archive.
    Contents contents() const {
        const auto snapshot = ArchiveSnapshot::open(archive);
        Contents result;
        for (const ArchiveEntry& entry : snapshot->entries())
            result[std::string(entry.name)] = snapshot->read(entry);
        return result;
    }
    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const ArchiveEntry& entry : ArchiveSnapshot::open(archive)->entries())
            result.emplace_back(entry.name);
        return result;
    }
    const ArchiveEntry& entry(const std::string& name) {
        kept = ArchiveSnapshot::open(archive);
        return *kept->find(name);
    }

    /// What another zip library reads from the archive, in its strictest mode.
    Contents contentsByLibzip() const {
        zip_t* opened = zip_open(archive.c_str(), ZIP_RDONLY | ZIP_CHECKCONS, nullptr);
        EXPECT_NE(opened, nullptr);
        Contents result;
        zip_stat_t stat;
        for (zip_uint64_t i = 0; opened != nullptr && zip_stat_index(opened, i, ZIP_FL_ENC_RAW, &stat) == 0;
             ++i) {
            std::string& bytes = result[stat.name];
            bytes.resize(stat.size);
            zip_file_t* file = zip_fopen_index(opened, i, 0);
            EXPECT_EQ(zip_fread(file, bytes.data(), stat.size), static_cast<zip_int64_t>(stat.size))
                << stat.name;
            zip_fclose(file);
        }
        if (opened != nullptr) zip_discard(opened);
        return result;
    }
    int run(const std::string& command) const { return std::system((command + " >/dev/null 2>&1").c_str()); }

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
        std::set<std::string> found;
        for (const auto& item : fs::directory_iterator(at("out")))
            found.insert(item.path().filename().string());
        return {found.begin(), found.end()};
    }

    TemporaryDirectory directory;
    std::string archive = (fs::create_directory(at("out")), at("out/a.kp"));
    std::shared_ptr<const ArchiveSnapshot> kept;
};
