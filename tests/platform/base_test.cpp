#include "platform/base/HI18N.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/params/HPAParamMgr.h"
#include "platform/params/HUTEnv.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Environment.h"
#include "tests/support/TemporaryDirectory.h"

#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

TEST(HI18N, WideAndNarrow) {
    const struct {
        std::string narrow;
        std::wstring wide;
        bool utf8 = true;
    } cases[] = {
        {"a\0b"s, L"a\0b"s},
        {"\x7F\xC2\x80\xDF\xBF", L"\x7F\x80\x7FF"},
        {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", L"\x800\xD7FF\xE000\xFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\x10000\x10FFFF"},
        {"a\xFF", L"a\xDCFF", false},
        {"\xC1\xBF", L"\xDCC1\xDCBF", false},
        {"\xE0\x9F\xBF", L"\xDCE0\xDC9F\xDCBF", false},
        {"\xED\xA0\x80", L"\xDCED\xDCA0\xDC80", false},
        {"\xF4\x90\x80\x80", L"\xDCF4\xDC90\xDC80\xDC80", false},
        {"\xE2\x82", L"\xDCE2\xDC82", false},
        {"\xE2\x28\xA1", L"\xDCE2(\xDCA1", false},
    };
    for (const auto& [narrow, wide, utf8] : cases) {
        EXPECT_EQ(HI18N::convert(narrow), wide) << testing::PrintToString(narrow);
        EXPECT_EQ(HI18N::convert(wide), narrow) << testing::PrintToString(narrow);
        EXPECT_EQ(HI18N::isUtf8(narrow), utf8) << testing::PrintToString(narrow);
    }
    const std::pair<std::wstring, std::string> oneWay[] = {
        {L"\xD83D\xDE00", "\xF0\x9F\x98\x80"},
        {L"\xD83D", "\xEF\xBF\xBD"},
        {L"\xD83D\xD83D\xDE00", "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
        {L"\xDC7F", "\xEF\xBF\xBD"},
        {std::wstring(1, static_cast<wchar_t>(0x110000)), "\xEF\xBF\xBD"},
        {std::wstring(1, static_cast<wchar_t>(-1)), "\xEF\xBF\xBD"}};
    for (const auto& [wide, narrow] : oneWay)
        EXPECT_EQ(HI18N::convert(wide), narrow);
}

TEST(HI18N, AnyBytesComeBack) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::string bytes(random() % 12, '\0');
        for (char& c : bytes)
            c = static_cast<char>(random() % 2 == 0 ? 0x80 + random() % 0x80 : random());
        ASSERT_EQ(HI18N::convert(HI18N::convert(bytes)), bytes) << testing::PrintToString(bytes);
    }
}

TEST(HSTStringUtils, OnlyTheLettersFold) {
    EXPECT_TRUE(HSTStringUtils::equalsIgnoreCase("aZ09_", "Az09_"));
    EXPECT_FALSE(HSTStringUtils::equalsIgnoreCase("a", "ab"));
    EXPECT_EQ(HSTStringUtils::foldCase("AZ@[\xC3\x84"), "az@[\xC3\x84");
    EXPECT_TRUE(HSTStringUtils::startsWithIgnoreCase("Ip_Repo/x", "iP_rEPO/"));
    EXPECT_FALSE(HSTStringUtils::startsWithIgnoreCase("ip", "ip_repo"));
}

TEST(ComMsgMgr, PostedToTheSinkAndRaisedToTheCaller) {
    CapturedMessages messages;
    ComMsgMgr::post("@17-1312@%d%s", {"%1", "a%2.kp"});
    EXPECT_THAT(
        messages.texts(),
        testing::ElementsAre("17-1312: Unknown flow number %1 in the manifest of 'a%2.kp' is ignored"));
    EXPECT_EQ(messages.all()[0].severity, ComMsg::Severity::Warning);
    try {
        ComMsgMgr::raise("@17-132@%s%s%d", {"no root", "k.xml", "3"});
    } catch (const HEXAll& failure) {
        EXPECT_STREQ(failure.what(), "[17-132] k.xml:3: no root");
    }
    EXPECT_THROW(ComMsgMgr::post("@17-9999@"), std::invalid_argument);
    EXPECT_THROW(ComMsgMgr::post("@17-132@%s%s%d", {"one"}), std::invalid_argument);
    EXPECT_EQ(messages.all().size(), 1U);
}

TEST(ComMsgMgr, WithoutASinkMessagesGoToStandardError) {
    testing::internal::CaptureStderr();
    ComMsgMgr::post("@17-1406@%s", {"ip"});
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "warning: [17-1406] The IP directory 'ip' holds no files; no IP is packaged\n");
}

TEST(HPAParamMgr, TheProgramThenTheFileThenTheDefault) {
    const TemporaryDirectory directory;
    const std::string path =
        directory.file("params",
                       "# all\n\n a.on = YES # yes\na.off=0\r\n\ta.twice = 1\na.twice = False\n"
                       "a.bad = maybe\na.empty =\n");
    const Environment environment("KP_PARAM_FILE", path);
    EXPECT_TRUE(HPAParamMgr::getBool("a.on", false));
    EXPECT_FALSE(HPAParamMgr::getBool("a.off", true));
    EXPECT_FALSE(HPAParamMgr::getBool("a.twice", true));
    HPAParamMgr::setBool("a.on", false);
    EXPECT_FALSE(HPAParamMgr::getBool("a.on", true));
    HPAParamMgr::unset("a.on");
    EXPECT_TRUE(HPAParamMgr::getBool("a.on", false));

    const std::string broken = directory.file("broken", "a = 1\nfree text\n");
    const std::string none = directory / "none";
    const std::tuple<std::string, std::string, std::string> errors[] = {
        {path, "a.bad", path + ":7: the parameter 'a.bad' must be true or false, not 'maybe'"},
        {path, "a.empty", path + ":8: the parameter 'a.empty' must be true or false, not ''"},
        {broken, "a", broken + ":2: expected 'name = value', found 'free text'"},
        {none, "a", "Failed to read the parameter file '" + none + "'"},
    };
    for (const auto& [file, name, expected] : errors) {
        const Environment other("KP_PARAM_FILE", file);
        try {
            HPAParamMgr::getBool(name, false);
            ADD_FAILURE() << expected;
        } catch (const HEXAlgException& failure) {
            EXPECT_EQ(failure.what(), expected);
        }
    }
}

TEST(HUTEnv, VersionAndTemporaryDirectory) {
    const std::tuple<std::string, std::string, std::string> versions[] = {
        {"", "2020", "1"}, {"2031.12", "2031", "12"}, {"7", "7", ""}, {"7.", "7", ""}, {".x.y", "", "x.y"}};
    for (const auto& [version, major, minor] : versions) {
        const Environment environment("KP_SOFTWARE_VERSION", version);
        EXPECT_EQ(HUTEnv::getMajor(), major) << version;
        EXPECT_EQ(HUTEnv::getMinor(), minor) << version;
    }
    const Environment environment("TMPDIR", "/elsewhere");
    EXPECT_EQ(HUTEnv::getTKQTmpDir(), "/elsewhere");
}

}  // namespace
