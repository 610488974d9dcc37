// Several threads at one archive: the same results, failures and remains as with one.

#include "platform/base/OrderedWork.h"
#include "platform/zip/ArchiveExtraction.h"
#include "tests/platform/ZipTest.h"

#include <set>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::size_t numbersOfJobs[] = {1, 2, 3, 8};

/// The uses of a row of a thousand tasks up to the first that fails, and how that failed.
std::string workedOff(std::size_t jobs, const std::set<int>& failing) {
    std::atomic<int> running = 0, most = 0;
    int used = 0;
    OrderedWork work(jobs);
    const std::string failure = failureOf([&] {
        work.run([&] {
            for (int n = 0; n < 1000; ++n) {
                EXPECT_LE(n - used, static_cast<int>(jobs * 84)) << "of 8 MiB a job";
                work.add(
                    100'000,
                    [&, n](std::size_t worker) {
                        EXPECT_LT(worker, jobs);
                        most = std::max<int>(most, ++running * (n >= 500));
                        std::this_thread::sleep_for(std::chrono::microseconds(n * 37 % 200));
                        --running;
                        if (failing.contains(n)) throw std::out_of_range(std::to_string(n));
                    },
                    [&, n] { EXPECT_EQ(n, used++); });
            }
            if (failing.contains(1000)) throw std::out_of_range("the row itself");
        });
    });
    EXPECT_LE(most, static_cast<int>(jobs));
    EXPECT_TRUE(jobs == 1 || most > 1 || used < 1000);
    return std::to_string(used) + ": " + failure;
}

TEST(OrderedWork, UsesAllInOrderUpToTheFirstFailure) {
    for (const std::size_t jobs : numbersOfJobs) {
        EXPECT_EQ(workedOff(jobs, {}), "1000: nothing thrown");
        EXPECT_EQ(workedOff(jobs, {0, 1, 2, 3, 4, 5, 6, 7}), "0: 0");
        EXPECT_EQ(workedOff(jobs, {999, 500, 501, 1000}), "500: 500");
        EXPECT_EQ(workedOff(jobs, {999, 1000}), "999: 999");
        EXPECT_EQ(workedOff(jobs, {1000}), "1000: the row itself");
    }
}

class ZipJobs : public ZipTest {
protected:
    /// Writes a tree that is worth several threads: files of all kinds, also copies and large ones, in
    /// folders.
    void makeTree(unsigned seed, std::size_t largest) const {
        std::mt19937 random(seed);
        std::vector<std::string> contents = {""};
        for (int n = 0; n < 60; ++n) {
            const std::size_t size = random() % (n % 20 == 7 ? largest : 60'000);
            const std::string kinds[] = {noise(size), std::string(size, 'c'),
                                         contents[random() % contents.size()],
                                         noise(size / 9) + std::string(size, 'd')};
            contents.push_back(kinds[random() % std::size(kinds)]);
            write("tree/" + std::to_string(random() % 5) + "/" + std::to_string(n), contents.back());
        }
        write("tree/copy", noise(largest) + std::string(largest, 'l'));
        write("tree/same", noise(largest) + std::string(largest, 'l'));
    }
    void pack(std::size_t jobs) const {
        edit([&](ArchiveEdit& edit) {
            edit.useJobs(jobs);
            edit.addTree("tree", at("tree"));
            edit.addLast("kp.xml", "new");
            edit.seal();
        });
    }
    void extract(std::size_t jobs) const {
        ExtractionPlan plan(ArchiveSnapshot::open(archive));
        plan.addFolder("");
        extractArchive(plan, at("new"), jobs);
    }
    std::vector<std::string> flaws(std::size_t jobs) const {
        const auto snapshot = ArchiveSnapshot::open(archive);
        DigestVerdict digest = DigestVerdict::Unreadable;
        std::vector<std::string> texts;
        for (const ArchiveFinding& finding :
             snapshot->check(jobs, [&] { digest = snapshot->checkDigest(ArchiveDigest::Label::Sha256); }))
            texts.push_back(finding.text);
        EXPECT_EQ(digest, texts.empty() ? DigestVerdict::Valid : DigestVerdict::Mismatch);
        return texts;
    }

    const Environment epoch{"SOURCE_DATE_EPOCH", "1600000000"};
};

TEST_F(ZipJobs, BytesDoNotDependOnTheirNumber) {
    for (unsigned seed = 1; seed <= 3; ++seed) {
        fs::remove_all(at("tree"));
        makeTree(seed, std::size_t{6} << 20);
        std::set<std::string> versions;
        for (const std::size_t jobs : numbersOfJobs) {
            fs::remove(archive);
            pack(jobs);
            versions.insert(bytesOfArchive());
            EXPECT_THAT(flaws(jobs), IsEmpty());
            fs::remove_all(at("new"));
            extract(jobs);
            EXPECT_EQ(run("diff -r " + at("tree") + " " + at("new/tree")), 0) << jobs;
        }
        EXPECT_EQ(versions.size(), 1U);
        EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    }
    EXPECT_EQ(run("unzip -tqq " + archive), 0);
}

TEST_F(ZipJobs, FailuresInAllThreadsAtOnceAreThoseOfTheFirstMember) {
    makeTree(4, 100'000);
    pack(1);
    std::string bytes = bytesOfArchive();
    const auto snapshot = ArchiveSnapshot::open(archive);
    for (const ArchiveEntry& entry : snapshot->entries())
        if (entry.size > 0) bytes[snapshot->localRecord(entry).data] ^= 0x55;
    HUTFile::writeFile(archive, bytes);
    const std::vector<std::string> expected = flaws(1);
    const std::string failure = failureOf([&] { extract(1); });
    EXPECT_GT(expected.size(), 50U);
    EXPECT_THAT(failure, testing::StartsWith("Failed to read 'kp.xml'"));
    for (const std::size_t jobs : numbersOfJobs) {
        EXPECT_EQ(flaws(jobs), expected);
        EXPECT_EQ(failureOf([&] { extract(jobs); }), failure);
        EXPECT_TRUE(fs::is_empty(at("new")));
    }
}

/// Every call on the disk, whichever thread makes it, fails once, or throws, or finds the work called off.
TEST_F(ZipJobs, WhateverCallFailsAllIsOldOrNew) {
    makeTree(5, 800'000);
    edit([](ArchiveEdit& edit) { edit.addBytes("old", "o"), edit.seal(); });
    const std::string old = bytesOfArchive();
    pack(1);
    const std::string changed = bytesOfArchive();
    const std::function<int()> disasters[] = {[] { return EIO; }, [] { return throw std::bad_alloc(), 0; },
                                              [] { return callOff(""); }};
    for (const auto& disaster : disasters) {
        int failures = 0;
        bool isReached = true;
        const int step = std::getenv("KP_LONG_TESTS") != nullptr ? 1 : 17;
        for (int n = 1; isReached; n += step) {
            isReached = false;
            const auto succeeds = [&](const std::function<void()>& operation) {
                int calls = 0;
                std::string failure;
                {
                    const disk::DiskFaults faults([&](std::string_view, const std::string&) {
                        if (++calls != n) return 0;
                        isReached = true;
                        return disaster();
                    });
                    failure = ::failureOf(operation);
                }
                HUTInterrupt::clear();
                failures += failure == "nothing thrown" ? 0 : 1;
                return failure == "nothing thrown";
            };
            HUTFile::writeFile(archive, old);
            const bool isPacked = succeeds([&] { pack(4); });
            EXPECT_TRUE(bytesOfArchive() == changed || (!isPacked && bytesOfArchive() == old)) << n;
            EXPECT_THAT(filesBeside(), ElementsAre("a.kp")) << n;

            HUTFile::writeFile(archive, changed);
            fs::remove_all(at("new"));
            if (succeeds([&] { extract(4); })) {
                EXPECT_EQ(run("diff -r " + at("tree") + " " + at("new/tree")), 0) << n;
            } else if (fs::exists(at("new/tree"))) {
                // Files were moved into place when it failed; none is cut short.
                EXPECT_EQ(run("diff -r " + at("tree") + " " + at("new/tree") + " | grep -v '^Only in'"), 256)
                    << n;
            }
        }
        EXPECT_GT(failures, 30);
    }
}

}  // namespace
