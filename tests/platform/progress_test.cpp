#include "platform/base/HUTProgress.h"
#include "platform/base/OrderedWork.h"
#include "tests/platform/ZipTest.h"

namespace {

constexpr std::size_t MiB = std::size_t{1} << 20;

/// Hears of works, which come one after the other, in steps that are worth it, to their end.
class Progress : public ZipTest, protected HUTProgress::Listener {
protected:
    Progress() : before_(HUTProgress::setListener(this)) {}
    ~Progress() override { HUTProgress::setListener(before_); }

    void begin(std::uint64_t total) override {
        EXPECT_TRUE(isOver);
        all = total;
        told = {0};
        isOver = false;
        ++works;
    }
    void advance(std::uint64_t now) override {
        const std::uint64_t step = now - told.back();
        EXPECT_TRUE(step >= 65536 || (step > 0 && now == all)) << step << ' ' << now;
        told.push_back(now);
    }
    void end() override { isOver = true; }

    /// Runs the operation, which is one work and done at its end; returns its amount.
    std::uint64_t totalOf(const std::function<void()>& operation) {
        works = 0;
        operation();
        EXPECT_TRUE(works == 1 && isOver && told.back() == all) << works << " works, " << told.back();
        return all;
    }

    std::uint64_t all = 0;
    std::vector<std::uint64_t> told;
    int works = 0;
    bool isOver = true;

private:
    HUTProgress::Listener* before_;
};

TEST_F(Progress, AllWorkIsHeardFromItsBeginToItsEnd) {
    write("tree/text", std::string(3 * MiB, 'x'));
    write("tree/deep/random", noise(MiB));
    write("large/random", noise(9 * MiB));  // is deflated in vain, then stored
    const auto extract = [&] { HUTZip::uncompressDir(archive, "t", at("new"), 1); };
    EXPECT_EQ(totalOf([&] { HUTZip::compressDir(archive, at("tree"), "t"); }), 4 * MiB);
    EXPECT_EQ(totalOf([&] { ArchiveSnapshot::open(archive)->check(); }), 4 * MiB);
    EXPECT_EQ(totalOf(extract), 4 * MiB);
    EXPECT_EQ(totalOf(extract), 4 * MiB) << "over files that are there";
    EXPECT_GT(totalOf([&] { HUTZip::compressDir(archive, at("large"), "l"); }), 9 * MiB);
    EXPECT_GT(totalOf([&] { HUTZip::attachDigestEn(archive); }), 10 * MiB);
    totalOf([&] { EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0); });
    totalOf([&] {  // from the known prefix on
        edit([](ArchiveEdit& edit) { edit.addLast("manifest", "new"), edit.seal(); });
    });
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    EXPECT_EQ(totalOf([&] {  // a part of other work, which fails
                  const HUTProgress whole([] { return 5 * MiB; });
                  const disk::DiskFaults faults(always("rename", EIO));
                  EXPECT_NE(failureOf([&] { HUTZip::compress(at("out/new"), {at("tree/text")}, ""); }),
                            "nothing thrown");
                  whole.remains(0);
              }),
              5 * MiB);
}

TEST_F(Progress, IsThatOfAllThreadsInStepsThatAreWorthIt) {
    totalOf([] {
        const HUTProgress whole([] { return 200'000; });
        HUTProgress::advance(65'536), HUTProgress::advance(65'535), HUTProgress::advance(1);
        whole.remains(10);
        HUTProgress::advance(100), HUTProgress::advance(5);
    });
    EXPECT_THAT(told, testing::ElementsAre(0, 65'536, 131'072, 199'990, 200'000));
    totalOf([] {
        const HUTProgress whole([] { return 30'000; });
        OrderedWork work(2);
        std::atomic<int> done = 0;
        work.run([&] {
            for (int n = 1; n <= 3; ++n) {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));  // the other one falls asleep
                work.add(MiB, [&](std::size_t) { HUTProgress::advance(10'000), ++done; }, {});
                while (done < n)  // by the other one
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    });
}

}  // namespace
