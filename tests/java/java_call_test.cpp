// Calls from a stand-in for the JVM, which can run out of memory and counts what it lends.

#include "containers/bindings/JavaCall.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace {

/// A JVM whose strings are u16strings and which remembers what native code did.
class FakeJvm {
public:
    FakeJvm() {
        functions_.GetStringLength = [](JNIEnv*, jstring text) {
            return static_cast<jsize>(unitsOf(text).size());
        };
        functions_.GetStringChars = [](JNIEnv*, jstring text, jboolean*) -> const jchar* {
            if (--current_->stringsLeft < 0) return nullptr;
            ++current_->lent;
            return reinterpret_cast<const jchar*>(unitsOf(text).data());
        };
        functions_.ReleaseStringChars = [](JNIEnv*, jstring, const jchar*) { --current_->lent; };
        functions_.ExceptionClear = [](JNIEnv*) {};
        functions_.FindClass = [](JNIEnv*, const char* name) {
            current_->raised = name;
            return reinterpret_cast<jclass>(current_);
        };
        functions_.ThrowNew = [](JNIEnv*, jclass, const char* text) {
            current_->raised += std::string(": ") + text;
            return 0;
        };
        functions_.DeleteLocalRef = [](JNIEnv*, jobject) {};
        environment_.functions = &functions_;
        current_ = this;
    }
    ~FakeJvm() { current_ = nullptr; }
    FakeJvm(const FakeJvm&) = delete;
    FakeJvm& operator=(const FakeJvm&) = delete;

    JavaCall call() { return JavaCall(&environment_); }
    static jstring string(std::u16string& units) { return reinterpret_cast<jstring>(&units); }

    int stringsLeft = 100;  // how many more can be lent
    int lent = 0;
    std::string raised;

private:
    static const std::u16string& unitsOf(jstring text) { return *reinterpret_cast<std::u16string*>(text); }

    static inline FakeJvm* current_ = nullptr;
    JNINativeInterface_ functions_{};
    JNIEnv environment_{};
};

class JavaCallTest : public testing::Test {
protected:
    /// The result of a call that appends both texts as one and gives 7.
    int append(jstring first, jlong list, jstring last) {
        return jvm_.call().run(
            [](const std::string& text, JavaCall::StringList& strings, const std::string& end) {
                strings.push_back(text + end);
                return 7;
            },
            first, list, last);
    }
    jstring first() { return FakeJvm::string(first_); }
    jstring last() { return FakeJvm::string(last_); }
    jlong list() { return reinterpret_cast<jlong>(&strings_); }

    FakeJvm jvm_;
    JavaCall::StringList strings_;
    std::u16string first_ = u"\u00e9\U0001D49C";
    std::u16string last_ = u"z";
};

TEST_F(JavaCallTest, ConvertsFromLeftToRightAndStopsAtTheFirstFailure) {
    const std::string null = "java/lang/NullPointerException: ";
    const std::string nullString = null + "null std::string";
    const std::string nullList = null + "std::vector< std::string > & reference is null";
    const struct {
        const char* name;
        bool first, list, last;
        int stringsLeft;
        std::string raised;
        int stringsAsked;
    } cases[] = {
        {"all given", true, true, true, 2, "", 2},
        {"no first", false, true, true, 2, nullString, 0},
        {"no list", true, false, true, 2, nullList, 1},
        {"no last", true, true, false, 2, nullString, 1},
        {"nothing", false, false, false, 2, nullString, 0},
        {"no memory for the first", true, false, true, 0, "", 1},
        {"no memory for the last", true, true, true, 1, "", 2},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        strings_.clear();
        jvm_.raised.clear();
        jvm_.stringsLeft = test.stringsLeft;
        const int result =
            append(test.first ? first() : nullptr, test.list ? list() : 0, test.last ? last() : nullptr);
        const bool runs = test.raised.empty() && jvm_.stringsLeft >= 0;
        EXPECT_EQ(runs ? 7 : 0, result);
        EXPECT_EQ(runs ? JavaCall::StringList{"\xC3\xA9\xF0\x9D\x92\x9Cz"} : JavaCall::StringList{},
                  strings_);
        EXPECT_EQ(test.raised, jvm_.raised);
        EXPECT_EQ(test.stringsAsked, test.stringsLeft - jvm_.stringsLeft);
        EXPECT_EQ(0, jvm_.lent);
    }
}

TEST_F(JavaCallTest, LetsWhatTheOperationThrowsPass) {
    const auto operation = [](const std::string& text) -> int { throw std::runtime_error("of " + text); };
    try {
        jvm_.call().run(operation, last());
        FAIL() << "nothing thrown";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ("of z", failure.what());
    }
    EXPECT_EQ("", jvm_.raised);
    EXPECT_EQ(0, jvm_.lent);
}

}  // namespace
