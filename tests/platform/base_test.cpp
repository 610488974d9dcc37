#include "platform/base/HI18N.h"
#include "platform/base/Spelling.h"
#include "platform/base/Threads.h"
#include "platform/messages/DocumentMessages.h"
#include "platform/params/HPAParamMgr.h"
#include "platform/params/UsableCores.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Environment.h"
#include "tests/support/Failure.h"
#include "tests/support/TemporaryDirectory.h"

#include <csignal>
#include <cstdio>
#include <memory>
#include <random>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

TEST(HI18N, AnyBytesComeBackAndAnyCharactersCanBeTold) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::string bytes(random() % 12, '\0');
        for (char& c : bytes)
            c = static_cast<char>(random() % 2 == 0 ? 0x80 + random() % 0x80 : random());
        ASSERT_EQ(HI18N::convert(HI18N::convert(bytes)), bytes) << testing::PrintToString(bytes);
    }
    const std::tuple<std::string, std::wstring, bool> cases[] = {
        {"\x7F\xC2\x80\xDF\xBF", L"\x7F\x80\x7FF", true},
        {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", L"\x800\xD7FF\xE000\xFFFF", true},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\x10000\x10FFFF", true},
        {"\xC1\xBF\xFF", L"\xDCC1\xDCBF\xDCFF", false},
        {"\xE0\x9F\xBF", L"\xDCE0\xDC9F\xDCBF", false},
        {"\xED\xA0\x80", L"\xDCED\xDCA0\xDC80", false},
        {"\xF4\x90\x80\x80", L"\xDCF4\xDC90\xDC80\xDC80", false},
        {"\xE2\x28\xA1", L"\xDCE2(\xDCA1", false},
    };
    for (const auto& [narrow, wide, isUtf8] : cases) {
        EXPECT_EQ(HI18N::convert(narrow), wide) << testing::PrintToString(narrow);
        EXPECT_EQ(HI18N::convert(wide), narrow);
        EXPECT_EQ(HI18N::isUtf8(narrow), isUtf8) << testing::PrintToString(narrow);
    }
    const std::string none = "\xEF\xBF\xBD";
    EXPECT_EQ(
        HI18N::convert(L"\xD83D\xDE00\xD800\xDBFF\xDFFF\xDC00\xDC00\xD800\xE000\xD800\xDC00"),
        "\xF0\x9F\x98\x80" + none + "\xF4\x8F\xBF\xBF" + none + none + none + "\xEE\x80\x80\xF0\x90\x80\x80");
    EXPECT_EQ(HI18N::convert(L"\xDFFF" + std::wstring(1, static_cast<wchar_t>(-1))), none + none);
    EXPECT_EQ(HI18N::convert(std::wstring_view(L"\xD83D\xDE00", 1)), none);
}

TEST(Threads, GetNoSignalsAndLeaveNothingOpen) {
    const auto isBlocked = [] {
        sigset_t blocked;
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        return sigismember(&blocked, SIGINT) == 1;
    };
    const int descriptor = ::dup(0);
    bool isBlockedThere = false;
    startThread([&] { isBlockedThere = isBlocked(); }).join();
    EXPECT_TRUE(isBlockedThere && !isBlocked());
    EXPECT_EQ(::dup(0), descriptor + 1);
}

TEST(Spelling, TheNearestIsWithinAThirdOfTheWord) {
    const std::tuple<std::string, std::vector<std::string>, std::string> cases[] = {
        {"ab", {"xy", "abc"}, "abc"},
        {"widht", {"length", "width"}, "width"},
        {"kernel", {"kenrle"}, "kenrle"},
        {"kernel", {"kexxxl", "krnl", "kernl", "kerne"}, "kernl"},
        {"abcd", {"abd", "xabcd"}, "abd"},
        {"abcdef", {"abxyzf", "abxydef", "abcxyzdef"}, "abxydef"},
        {"abcdefghi", {"cabdefigh", "abc"}, ""},
        {"", {"ab"}, ""},
    };
    for (const auto& [word, candidates, nearest] : cases)
        EXPECT_EQ(nearestSpelling(word, candidates), nearest) << word;
}

TEST(ComMsgMgr, MessagesAreToldOnceWithTheirArguments) {
    testing::internal::CaptureStderr();
    ComMsgMgr::post("@17-1312@%d%s", {"%1", "a%2.kp"});
    const auto fail = [] { ComMsgMgr::raise("@17-1376@%s", {"k.xml"}, "No space left on device"); };
    const std::string shown = "[17-1376] Failed to write 'k.xml': No space left on device";
    EXPECT_EQ(failureOf<HEXAll>(fail), shown);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "warning: [17-1312] Unknown flow number %1 in the manifest of 'a%2.kp' is ignored\n");

    const CapturedMessages messages;
    { const CapturedMessages inner; }
    try {
        fail();
    } catch (const HEXAll& failure) {
        EXPECT_EQ(failure.message().arguments, ComMsgMgr::Arguments{"k.xml"});
    }
    ASSERT_EQ(messages.all().size(), 1U);
    EXPECT_TRUE(messages.all()[0].isThrown);
    EXPECT_EQ(messages.all()[0].shown(), shown);
}

TEST(DocumentMessages, OfTheLibrarysOwnTenArePosted) {
    const CapturedMessages messages;
    DocumentMessages about("p.kp");
    for (int line = 1; line <= 13; ++line) {
        about.post("@17-1312@%d%s", {"9", "p.kp"});
        about.post("@17-2005@%s%s%d", {"x", "p.kp", std::to_string(line)});
        if (line == 10) about.finish();
    }
    about.finish();
    const auto texts = messages.texts();
    EXPECT_EQ(texts.size(), 13U + 10U + 1U);
    EXPECT_EQ(texts[19], "17-2005: p.kp:10: x; it is ignored");
    EXPECT_EQ(texts[22], texts[0]) << "one of the host's";
    EXPECT_EQ(texts.back(), "17-2006: ... and 3 more about 'p.kp'");
}

TEST(HPAParamMgr, TheProgramThenTheFileThenTheDefault) {
    const TemporaryDirectory directory;
    const Environment environment("KP_PARAM_FILE",
                                  directory.file("params", "# all\n\n a.on = YES # yes\na.off=0\r\n"));
    HPAParamMgr::setBool("a.off", true);
    EXPECT_TRUE(HPAParamMgr::getBool("a.off", false));
    HPAParamMgr::unset("a.off");
    EXPECT_FALSE(HPAParamMgr::getBool("a.off", true));
    EXPECT_TRUE(HPAParamMgr::getBool("a.on", false));
    EXPECT_TRUE(HPAParamMgr::getBool("a.other", true));
    bool isOn = false;
    for (const std::string word : {"False", "true", "no", "yes", "0", "1"}) {
        const Environment other("KP_PARAM_FILE", directory.file("word", "a = " + word));
        EXPECT_EQ(HPAParamMgr::getBool("a", !isOn), isOn) << word;
        isOn = !isOn;
    }

    const std::pair<std::string, std::string> broken[] = {
        {"a = 1\na = maybe\n", ":2: the parameter 'a' must be true or false, not 'maybe'"},
        {"a = 1\nfree text\n", ":2: expected 'name = value', found 'free text'"}};
    for (const auto& [text, error] : broken) {
        const Environment other("KP_PARAM_FILE", directory.file("broken", text));
        EXPECT_EQ(failureOf([] { HPAParamMgr::getBool("a", false); }), directory / "broken" + error);
    }
}

TEST(UsableCores, AreThoseOfTheAffinityUnlessAGroupGrantsLessTime) {
    const std::size_t all = usableCores("/nowhere");
    const std::unique_ptr<FILE, int (*)(FILE*)> nproc(popen("env -i nproc", "r"), &pclose);
    std::size_t told = 0;
    ASSERT_TRUE(fscanf(nproc.get(), "%zu", &told) == 1 && told == all) << told << ' ' << all;
    const std::size_t two = std::min<std::size_t>(all, 2);
    const struct {
        std::string groups, file, text;
        std::size_t cores;
    } cases[] = {
        {"0::/a/b", "a/b/cpu.max", "max 100000", all},
        {"0::/a/b", "a/b/cpu.max", "150000 100000", two},
        {"0::/a/b", "a/cpu.max", "50000 100000", 1},
        {"0::/", "cpu.max", "100000 100000", 1},
        {"0::/a", "a/cpu.max", "x", all},
        {"3:cpu,cpuacct:/d", "cpu,cpuacct/d/cpu.cfs_quota_us", "90000", 1},
        {"3:cpuacct,cpu:/d", "cpu/d/cpu.cfs_quota_us", "90000", 1},
        {"3:cpu:/d", "cpu/d/cpu.cfs_quota_us", "-1", all},
        {"3:memory:/d", "memory/d/cpu.cfs_quota_us", "90000", all},
    };
    for (const auto& [groups, file, text, cores] : cases) {
        const TemporaryDirectory root;
        root.file("proc/self/cgroup", "7:freezer:/z\n" + groups + "\n");
        root.file("sys/fs/cgroup/" + file, text + "\n");
        for (const char* period : {"cpu,cpuacct/d", "cpu", "cpu/d", "memory/d"})
            root.file(std::string("sys/fs/cgroup/") + period + "/cpu.cfs_period_us", "100000\n");
        EXPECT_EQ(usableCores(root / ""), cores) << groups << ' ' << text;
    }
}

}  // namespace
