// What a listener hears of long work on archives.

#include "platform/base/HUTProgress.h"
#include "tests/platform/ZipTest.h"

#include <random>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Recorder : public HUTProgress::Listener {
public:
    struct Work {
        std::uint64_t total;
        std::vector<std::uint64_t> done;
        bool isOver = false;
    };

    void begin(std::uint64_t total) override { works.push_back({total, {}}); }
    void advance(std::uint64_t done) override { works.back().done.push_back(done); }
    void end() override { works.back().isOver = true; }

    std::vector<Work> works;
};

std::string randomBytes(std::size_t size) {
    std::mt19937_64 random(5);
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

class ProgressTest : public ZipTest {
protected:
    ProgressTest() : before(HUTProgress::setListener(&recorder)) {}
    ~ProgressTest() override { HUTProgress::setListener(before); }

    /// Runs the operation, which is one work, and expects to hear all of it, in steps that are worth it.
    std::uint64_t totalOf(const std::string& what, const std::function<void()>& operation) {
        recorder.works.clear();
        operation();
        EXPECT_EQ(recorder.works.size(), 1U) << what;
        const Recorder::Work& work = recorder.works.at(0);
        EXPECT_TRUE(work.isOver) << what;
        EXPECT_THAT(work.done, Not(IsEmpty())) << what;
        std::uint64_t last = 0;
        for (const std::uint64_t done : work.done) {
            EXPECT_TRUE(done >= last + 65536 || (done > last && done == work.total)) << what << ' ' << done;
            last = done;
        }
        EXPECT_EQ(last, work.total) << what;
        return work.total;
    }

    Recorder recorder;
    HUTProgress::Listener* before;
};

constexpr std::size_t MiB = std::size_t{1} << 20;

TEST_F(ProgressTest, AllWorkIsHeardFromItsBeginToItsEnd) {
    write("tree/text", std::string(3 * MiB, 'x'));
    write("tree/deep/random", randomBytes(MiB));
    write("tree/empty", "");
    write("large/random", randomBytes(65 * MiB));  // is deflated in vain, then stored
    const auto extract = [&](const std::string& to) { HUTZip::uncompressDir(archive, "t", at(to), 1); };

    EXPECT_EQ(totalOf("pack", [&] { HUTZip::compressDir(archive, at("tree"), "t"); }), 4 * MiB);
    totalOf("copy and seal", [&] { HUTZip::attachDigestEn(archive); });
    EXPECT_EQ(totalOf("check", [&] { ArchiveSnapshot::open(archive)->check(); }), 4 * MiB);
    EXPECT_EQ(totalOf("extract", [&] { extract("new"); }), 4 * MiB);
    EXPECT_EQ(totalOf("extract over files", [&] { extract("new"); }), 4 * MiB);
    EXPECT_GT(totalOf("add large and seal",
                      [&] {
                          edit([&](ArchiveEdit& edit) {
                              edit.addTree("l", at("large"));
                              edit.seal();
                          });
                      }),
              2 * 65 * MiB);
    totalOf("check digest", [&] { EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0); });
    totalOf("seal from the known prefix on", [&] {
        edit([](ArchiveEdit& edit) {
            edit.addLast("manifest", "new");
            edit.seal();
        });
    });
}

TEST_F(ProgressTest, WorkThatFailsIsOverAndTheNextIsHeard) {
    const std::string file = write("file", std::string(MiB, 'x'));
    for (int attempts = 2; attempts > 0; --attempts)
        EXPECT_NE(failureOf([&] {
                      edit([&](ArchiveEdit& edit) {
                          edit.addFile("a", file);
                          edit.addFile("b", write("gone", "b"));
                          fs::remove(at("gone"));
                      });
                  }),
                  "none");
    ASSERT_EQ(recorder.works.size(), 2U);
    for (const Recorder::Work& work : recorder.works) {
        EXPECT_TRUE(work.isOver);
        EXPECT_THAT(work.done, ElementsAre(MiB));
    }
}

TEST_F(ProgressTest, WorkWithinWorkIsAPartOfIt) {
    {
        const HUTProgress whole([] { return 3 * MiB; });
        for (const char* name : {"a", "b"}) {
            edit([&](ArchiveEdit& edit) { edit.addBytes(name, std::string(MiB, *name)); });
            EXPECT_FALSE(recorder.works.at(0).isOver);
        }
    }
    ASSERT_EQ(recorder.works.size(), 1U);
    EXPECT_TRUE(recorder.works[0].isOver);
    EXPECT_EQ(recorder.works[0].total, 3 * MiB);
    EXPECT_GT(recorder.works[0].done.back(), 2 * MiB - 1);
}

TEST_F(ProgressTest, NothingIsAskedWhenNobodyListens) {
    HUTProgress::setListener(nullptr);
    const HUTProgress work([]() -> std::uint64_t { throw std::logic_error("asked"); });
    HUTProgress::advance(MiB);
    work.remains(0);
    EXPECT_THAT(recorder.works, IsEmpty());
}

}  // namespace
