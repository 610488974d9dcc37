#include "tests/platform/ZipTest.h"

using testing::ElementsAre;

namespace {

class ZipFault : public ZipTest {
protected:
    ZipFault() {
        write("tree/a", std::string(5000, 'a'));
        write("tree/b/c", "c");
        fs::create_directories(at("tree/empty"));
        edit([](ArchiveEdit& edit) {
            edit.addBytes("old", std::string(3000, 'o'));
            edit.addBytes("gone", "g");
            edit.addLast("kp.xml", "old");
            edit.seal();
        });
        old = bytesOfArchive();
        change();
        changed = bytesOfArchive();
        HUTFile::writeFile(archive, old);
    }
    void change() const {
        edit([&](ArchiveEdit& edit) {
            edit.addTree("tree", at("tree"));
            edit.deleteFile("gone");
            edit.addLast("kp.xml", "new");
            edit.seal();
        });
    }

    const Environment epoch{"SOURCE_DATE_EPOCH", "1600000000"};
    std::string old, changed;
};

TEST_F(ZipFault, WorkThatIsCalledOffLeavesTheOldArchiveOrTheWholeNewOne) {
    int calledOff = 0;
    atEachCall(callOff, [&](const auto& disaster) {
        HUTFile::writeFile(archive, old);
        std::optional<disk::DiskFaults> faults(disaster);
        const bool isWhole = ::failureOf<HEXInterrupted>([&] { change(); }) == "nothing thrown";
        HUTInterrupt::clear();
        faults.reset();
        calledOff += isWhole ? 0 : 1;
        EXPECT_EQ(bytesOfArchive(), isWhole ? changed : old) << calledOff;
        EXPECT_THAT(filesBeside(), ElementsAre("a.kp")) << calledOff;
    });
    EXPECT_GT(calledOff, 10);
    HUTFile::writeFile(archive, old);
    const disk::DiskFaults asItSyncs(once("sync", [] { return callOff("sync"); }));
    EXPECT_THROW(change(), HEXInterrupted);
    HUTInterrupt::clear();
}

TEST_F(ZipFault, AComparisonEndsWhenItIsCalledOff) {
    const std::string file = write("f", std::string(3000, 'o'));
    copyTo(at("copy"));
    const auto copy = ArchiveSnapshot::open(at("copy"));
    const std::function<void(ArchiveEdit&)> additions[] = {
        [&](ArchiveEdit& edit) { edit.addFile("old", file); },
        [&](ArchiveEdit& edit) { edit.addMember(copy, *copy->find("old")); }};
    for (const auto& add : additions) {
        ArchiveEdit edit(archive);
        add(edit);
        HUTInterrupt::request();
        EXPECT_THROW(edit.rehearse(), HEXInterrupted);
        HUTInterrupt::clear();
    }
}

TEST_F(ZipFault, InterruptionsAndMissingAbilitiesDoNotMatter) {
    const disk::DiskFaults::Decide environments[] = {interruptions(), once("write", [] { return EXDEV; }),
                                                     once("write", [] { return EOPNOTSUPP; }),
                                                     always("change the owner of", EPERM)};
    for (const auto& environment : environments) {
        HUTFile::writeFile(archive, old);
        const disk::DiskFaults faults(environment);
        change();
        EXPECT_EQ(bytesOfArchive(), changed);
    }
    archive = at("out/" + std::string(255, 'n'));
    const disk::DiskFaults faults(once("rename", [] { return EINVAL; }));
    change();
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    EXPECT_EQ(filesBeside().size(), 2U);
}

TEST_F(ZipFault, ASourceThatChangesWhileItIsPackedIsNamed) {
    const std::string large = write("large", std::string((std::size_t{4} << 20) + 1, 'l'));
    fs::remove(archive);  // so that the first read is of the source
    for (const std::string& path : {at("tree/a"), large}) {
        for (const int difference : {+1, -1}) {
            const disk::DiskFaults faults(
                once("read", [&] { return fs::resize_file(path, fs::file_size(path) + difference), 0; }));
            EXPECT_EQ(failureOf([&] { HUTZip::compress(archive, {path}, "k"); }),
                      "'" + path + "' changed while it was packed");
        }
    }
    EXPECT_THAT(filesBeside(), ElementsAre());
}

TEST_F(ZipFault, AnotherProgramsChangeIsNotOverwritten) {
    const auto replace = [&] { fs::rename(write("new", old), archive); };
    const std::tuple<const char*, int, std::function<void()>, std::string> changes[] = {
        {"sync", 1, [&] { write("out/a.kp", "in place"); }, "in place"},
        {"sync", 1, replace, old},
        {"open", 2, replace, old},  // after it was locked, before it is read
        {"sync", 1, [&] { fs::remove(archive); }, ""},
    };
    for (const auto& [when, count, act, left] : changes) {
        HUTFile::writeFile(archive, old);
        {
            const disk::DiskFaults faults([&, n = count, awaited = when, &act = act](
                                              std::string_view call, const std::string&) mutable {
                if (call == awaited && --n == 0) act();
                return 0;
            });
            EXPECT_EQ(failureOf([&] { change(); }),
                      "'" + archive + "' was changed by another program while it was edited");
        }
        EXPECT_EQ(fs::exists(archive) ? bytesOfArchive() : "", left);
        fs::remove(archive);
    }
    EXPECT_THAT(filesBeside(), ElementsAre());
}

TEST_F(ZipFault, TheOperationStartsOverWhenAnotherWriterWasFirst) {
    for (const int error : {0, EINVAL}) {
        fs::remove(archive);
        int runs = 0;
        const disk::DiskFaults faults(
            once("rename", [&] { return HUTFile::writeFile(archive, old), error; }));
        edit([&](ArchiveEdit& edit) {
            EXPECT_EQ(edit.exists(), ++runs == 2);
            edit.addBytes("mine", "m");
        });
        EXPECT_EQ(runs, 2);
        expectSound({{"old", std::string(3000, 'o')}, {"gone", "g"}, {"kp.xml", "old"}, {"mine", "m"}});
        EXPECT_THAT(filesBeside(), ElementsAre("a.kp"));
    }
}

}  // namespace
