#include "tests/platform/ZipTest.h"

#include <cerrno>
#include <set>

#include <fcntl.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class ZipFault : public ZipTest {
protected:
    void SetUp() override {
        write("tree/a", std::string(5000, 'a'));
        write("tree/b/c", "c");
        fs::create_directories(at("tree/empty"));
        edit([](ArchiveEdit& edit) {
            edit.addBytes("old", std::string(3000, 'o'));
            edit.addBytes("gone", "g");
            edit.addLast("kp.xml", "old");
            edit.seal();
        });
    }
    void change() const {
        edit([&](ArchiveEdit& edit) {
            edit.addTree("tree", at("tree"));
            edit.deleteFile("gone");
            edit.addLast("kp.xml", "new");
            edit.seal();
        });
    }
    /// Something that another program does at the first such call of the edit.
    disk::DiskFaults::Decide once(std::string_view call, const std::string& path, std::function<void()> act) {
        return [=, isDone = false](std::string_view made, const std::string& on) mutable {
            if (!isDone && made == call && (path.empty() || on == path)) {
                isDone = true;
                act();
            }
            return 0;
        };
    }
};

TEST_F(ZipFault, ACallThatFailsLeavesTheOldArchiveOrTheWholeNewOne) {
    const Environment epoch("SOURCE_DATE_EPOCH", "1600000000");
    const std::string old = bytesOfArchive();
    change();
    const std::string changed = bytesOfArchive();
    std::set<std::string, std::less<>> failed;
    for (const bool exists : {true, false}) {
        for (int n = 1;; ++n) {
            fs::remove(archive);
            if (exists) HUTFile::writeFile(archive, old);
            int calls = 0;
            bool isRenamed = false;
            const std::string text = failureOf([&] {
                const disk::DiskFaults faults([&](std::string_view call, const std::string&) {
                    if (++calls == n) return failed.emplace(call), EIO;
                    isRenamed = isRenamed || call == "rename";
                    return 0;
                });
                change();
            });
            if (calls < n) break;
            EXPECT_TRUE(text == "none" || text.ends_with(": Input/output error")) << text;
            const bool isThere = exists || isRenamed;
            ASSERT_EQ(filesBeside(), std::vector<std::string>(isThere ? 1 : 0, "a.kp")) << n;
            EXPECT_TRUE(!exists || bytesOfArchive() == (isRenamed ? changed : old)) << n;
            EXPECT_TRUE(!isRenamed || HUTZip::checkIntegrityEn(archive) == 0) << n;
        }
    }
    EXPECT_THAT(failed, testing::IsSupersetOf({"open", "read", "write", "sync", "rename", "inspect", "list",
                                               "lock", "change the mode of", "change the owner of"}));
}

TEST_F(ZipFault, InterruptionsAndMissingAbilitiesDoNotMatter) {
    const std::string old = bytesOfArchive();
    const Environment epoch("SOURCE_DATE_EPOCH", "1600000000");
    change();
    const std::string changed = bytesOfArchive();
    const disk::DiskFaults::Decide environments[] = {
        [n = 0](std::string_view, const std::string&) mutable { return ++n % 2 == 1 ? EINTR : 0; },
        [isFirst = true](std::string_view call, const std::string&) mutable {
            return call == "write" && std::exchange(isFirst, false) ? EXDEV : 0;
        },
        [](std::string_view call, const std::string&) { return call == "change the owner of" ? EPERM : 0; },
    };
    for (const auto& environment : environments) {
        HUTFile::writeFile(archive, old);
        const disk::DiskFaults faults(environment);
        change();
        EXPECT_EQ(bytesOfArchive(), changed);
    }
    fs::remove(archive);
    const disk::DiskFaults faults([isFirst = true](std::string_view call, const std::string&) mutable {
        return call == "rename" && std::exchange(isFirst, false) ? EINVAL : 0;
    });
    change();
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp"));
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
}

TEST_F(ZipFault, ASourceThatChangesWhileItIsPackedIsNamed) {
    const std::string old = bytesOfArchive();
    const std::string large = write("large", std::string((std::size_t{64} << 20) + 1, 'l'));
    for (const std::string& path : {at("tree/a"), large}) {
        for (const int change : {+1, -1}) {
            const disk::DiskFaults faults(
                once("read", path, [&] { fs::resize_file(path, fs::file_size(path) + change); }));
            EXPECT_EQ(failureOf([&] { HUTZip::compress(archive, {path}, "k"); }),
                      "'" + path + "' changed while it was packed");
        }
    }
    EXPECT_EQ(bytesOfArchive(), old);
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp"));
}

TEST_F(ZipFault, AnotherProgramsChangeIsNotOverwritten) {
    const std::function<void()> changes[] = {
        [&] { HUTFile::writeFile(archive, "in place"); },
        [&] {
            HUTFile::writeFile(archive + ".new", "replaced");
            fs::rename(archive + ".new", archive);
        },
        [&] { fs::remove(archive); },
    };
    const std::string old = bytesOfArchive();
    for (const auto& act : changes) {
        fs::remove(archive);
        HUTFile::writeFile(archive, old);
        const disk::DiskFaults faults(once("sync", "", act));
        EXPECT_EQ(failureOf([&] { change(); }),
                  "'" + archive + "' was changed by another program while it was edited");
        if (fs::exists(archive)) {
            EXPECT_LT(bytesOfArchive().size(), 10U);
        }
    }
    EXPECT_THAT(filesBeside(), ElementsAre());
}

TEST_F(ZipFault, TheOperationStartsOverWhenAnotherWriterWasFirst) {
    const std::string old = bytesOfArchive();
    fs::remove(archive);
    int runs = 0;
    const disk::DiskFaults faults(once("rename", "", [&] { HUTFile::writeFile(archive, old); }));
    edit([&](ArchiveEdit& edit) {
        EXPECT_EQ(edit.exists(), ++runs == 2);
        edit.addBytes("mine", "m");
    });
    EXPECT_EQ(runs, 2);
    expectSound({{"old", std::string(3000, 'o')}, {"gone", "g"}, {"kp.xml", "old"}, {"mine", "m"}});
}

TEST_F(ZipFault, WhatAKilledEditLeftIsRemoved) {
    const std::string abandoned = write("out/.a.kp.kp-0a1b2c", "half");
    const std::string inUse = write("out/.a.kp.kp-ffffff", "half");
    write("out/.a.kp.kp-notes1", "not ours");
    write("out/.b.kp.kp-0a1b2c", "of another archive");
    const disk::FileDescriptor holder = disk::open(inUse, O_RDONLY);
    disk::lock(holder);
    change();
    EXPECT_THAT(filesBeside(), ElementsAre(".a.kp.kp-ffffff", ".a.kp.kp-notes1", ".b.kp.kp-0a1b2c", "a.kp"));
}

TEST_F(ZipFault, LongNamesHaveRoomForTheirPendingFile) {
    archive = at("out/" + std::string(255, 'n'));
    change();
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp", std::string(255, 'n')));
}

}  // namespace
