#include "platform/tcl/TaskManager.h"
#include "platform/tcl/Words.h"
#include "tests/support/TclEvaluators.h"
#include "tests/support/TemporaryDirectory.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <tcl.h>
#include <unistd.h>

using namespace tkq::tcltasks;
using namespace std::string_literals;
using testing::ElementsAre;

namespace {

/// The result, or "tcl_error: " or "HEXError: " and the text of what was thrown.
std::string outcome(tcl_evaluator& evaluator, const std::string& script) {
    try {
        return evaluator.evaluate(script);
    } catch (const tcl_error& error) {
        return "tcl_error: "s + error.what();
    } catch (const HEXError& error) {
        return "HEXError: "s + error.what();
    }
}

class Evaluator : public testing::TestWithParam<EvaluatorKind> {};
INSTANTIATE_TEST_SUITE_P(Tcl, Evaluator, testing::ValuesIn(evaluatorKinds),
                         [](const auto& info) { return info.param.name; });

TEST_P(Evaluator, GivesWhatTclGives) {
    const struct {
        std::string script, expected;
    } cases[] = {
        {"expr {6 * 7}", "42"},
        {"set x 1\nset y 2; # a remark\n", "2"},
        {"proc f {} {return $::x}; f", "1"},
        {"string length \"gr\xC3\xBC\xC3\x9F \xE6\xBC\xA2\"", "6"},
        {"format a%cb 0", "a\0b"s},
        {"set nul a\0b; string length $nul"s, "3"},
        {"set text \"0 3\\nabc\\r\\n\\x1a end\"", "0 3\nabc\r\n\x1A end"},
        {"encoding system", "utf-8"},
        {"puts {0 5}; puts {hello}; puts stderr {1 2}; puts -nonewline x; set done ok", "ok"},
        {"return early; set x late", "early"},
        {"error \"two\\nlines\"", "tcl_error: two\nlines"},
        {"set undefined", "tcl_error: can't read \"undefined\": no such variable"},
        {"set open {", "tcl_error: missing close-brace"},
        {"break", "tcl_error: invoked \"break\" outside of a loop"},
        {"return -code 7 reason", "tcl_error: command returned bad code: 7"},
        {"set x", "1"},
    };
    const auto evaluator = GetParam().make();
    testing::internal::CaptureStdout();
    for (const auto& [script, expected] : cases)
        EXPECT_EQ(outcome(*evaluator, script), expected) << script;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "standard output is not for scripts";
}

TEST_P(Evaluator, CarriesLargeTexts) {
    const std::string large(5'000'000, 'x');
    EXPECT_EQ(outcome(*GetParam().make(), "error {" + large + "}"), "tcl_error: " + large);
}

TEST(InProcess, ScriptsCannotEndTheProcess) {
    in_process_interpreter interpreter;
    EXPECT_EQ(outcome(interpreter, "exit 3"), "tcl_error: A script cannot end the process that it runs in");
}

TEST(InProcess, EndsWithTcl) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto outliveTcl = [] {
        static std::shared_ptr<in_process_interpreter> forever;
        forever = std::make_shared<in_process_interpreter>();
        forever->evaluate("set x 1");
        Tcl_Finalize();
        std::cerr << outcome(*forever, "set x");
        std::exit(0);
    };
    EXPECT_EXIT(outliveTcl(), testing::ExitedWithCode(0), "HEXError: The Tcl interpreter has ended");
}

TEST(InProcess, WritesWhatScriptsLeftOpenWhenTheProcessExits) {
    GTEST_FLAG_SET(death_test_style, "fast");
    const TemporaryDirectory directory;
    const auto leaveOpen = [&] {
        task_manager::instance().eval_in_tcl_throw(
            "puts -nonewline [open " + (directory / "file") + " w] text; puts -nonewline printed",
            record_command, false);
        std::exit(0);
    };
    EXPECT_EXIT(leaveOpen(), testing::ExitedWithCode(0), "^printed$");
    EXPECT_EQ(TemporaryDirectory::read(directory / "file"), "text");
}

/// Whether a process is there and no zombie.
bool isRunning(pid_t id) {
    std::ifstream stat("/proc/" + std::to_string(id) + "/stat");
    std::string text;
    return std::getline(stat, text) && text.find(") Z ") == std::string::npos;
}

bool endsSoon(pid_t id) {
    for (int i = 0; i < 100 && isRunning(id); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return !isRunning(id);
}

long openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST(Shell, TellsHowItEnded) {
    const struct {
        std::string command, script, ending;
    } cases[] = {
        {"exec tclsh8.6", "exit 3", "ended with status 3"},
        {"exec tclsh8.6", "exec sleep 300 &; exit", "ended with status 0"},
        {"exec tclsh8.6", "exec kill -KILL [pid]; after 10000", "was ended by signal 9 (Killed)"},
        {"sh -c 'tclsh8.6; exit 9'", "exit 3", "ended with status 9"},
        {"exec no-such-shell", "set x", "ended with status 127"},
        {"sleep 0.2; exit 5", std::string(1'000'000, ' '), "ended with status 5"},
    };
    const long before = openDescriptors();
    for (const auto& [command, script, ending] : cases) {
        tcl_shell shell(command);
        const std::string expected = "HEXError: The Tcl shell '" + command + "' " + ending;
        EXPECT_EQ(outcome(shell, script), expected);
        EXPECT_EQ(outcome(shell, "set x"), expected) << "asked again";
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left, not even as a zombie";
}

TEST(Shell, LeavesScriptsItsStreamsAndCommands) {
    testing::internal::CaptureStderr();
    {
        tcl_shell shell("tclsh8.6 2>&1");
        EXPECT_EQ(shell.evaluate("puts {0 2}; puts ab; list [gets stdin line] [eof stdin]"), "-1 1");
        shell.evaluate("rename puts {}; proc puts args {error mine}; rename gets {}");
        EXPECT_EQ(outcome(shell, "puts x"), "tcl_error: mine");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "0 2\nab\n");
}

TEST(Shell, TakesItsProcessesAlong) {
    // The second stays when its pipe closes, and when it is asked to end.
    for (const std::string command : {"tclsh8.6", "trap '' TERM; tclsh8.6; sleep 300"}) {
        pid_t shell = 0, background = 0;
        {
            tcl_shell evaluator(command);
            shell = std::stoi(evaluator.evaluate("pid"));
            background = std::stoi(evaluator.evaluate("exec sleep 300 >/dev/null &"));
            EXPECT_TRUE(isRunning(shell) && isRunning(background));
        }
        EXPECT_TRUE(endsSoon(shell)) << command;
        EXPECT_TRUE(endsSoon(background)) << command;
    }
}

TEST(Shell, EndsWhenThisProcessIsKilled) {
    TemporaryDirectory directory;
    const std::string pidFile = directory / "pid";
    const pid_t child = ::fork();
    if (child == 0) {
        tcl_shell shell("tclsh8.6");
        shell.evaluate("set f [open " + pidFile + " w]; puts $f [pid]; close $f");
        ::raise(SIGKILL);
    }
    ::waitpid(child, nullptr, 0);
    const pid_t shell = std::stoi(TemporaryDirectory::read(pidFile));
    EXPECT_TRUE(endsSoon(shell));
}

TEST(TaskManager, UsesTheEvaluatorOfTheScopeAndRecords) {
    struct Echo : tcl_evaluator {
        std::string evaluate(const std::string& script) override {
            if (script == "fail") throw tcl_error("failed");
            return "<" + script + ">";
        }
    };
    task_manager& manager = task_manager::instance();
    std::vector<std::string> seen;
    {
        const recorder_scope recording([&](const std::string& script, record_flag flag) {
            seen.push_back((flag == record_command ? "+" : "-") + script);
        });
        EXPECT_EQ(manager.eval_in_tcl_throw("set x 5", record_command, false), "5");
        const evaluator_scope scope(std::make_shared<Echo>());
        EXPECT_EQ(manager.eval_in_tcl_throw("set x", dont_record_command, false), "<set x>");
        EXPECT_THROW(manager.eval_in_tcl_throw("fail", dont_record_command, false), tcl_error);
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(manager.eval_in_tcl_throw("set x", dont_record_command, true), "5");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "set x\n");
    EXPECT_THAT(seen, ElementsAre("+set x 5", "-set x", "-fail"));
}

/// Whether Tcl takes what is written as one word of this value, in each place that a script may have for it.
bool staysOneWord(tcl_evaluator& tcl, const std::string& written, const std::string& value) {
    const std::string command = "take first " + written + " last";
    for (const std::string& script :
         {command, "set result [" + command + "]", "if {1} {\n  " + command + "\n}"}) {
        tcl.evaluate("proc take args {set ::taken $args}; set taken {}");
        outcome(tcl, script);
        if (tcl.evaluate("return [llength $taken]:[lindex $taken 1]") != "3:" + value) return false;
    }
    return true;
}

/// All short values of what means something to Tcl.
std::vector<std::string> nastyValues() {
    const std::string pieces[] = {"",   "a",  "-",   " ",        "\t",   "\n",  "\r",   "\v",   ";",
                                  "\\", "\"", "{",   "}",        "[",    "]",   "$",    "#",    "*",
                                  "(",  ")",  "{*}", "\xC3\xBC", "\xFF", "\0"s, "\x1A", "\\\n", "$x"};
    std::vector<std::string> values;
    for (const std::string& one : pieces) {
        for (const std::string& two : pieces) {
            for (const std::string& three : pieces)
                values.push_back(one + two + three);
        }
    }
    return values;
}

TEST(Words, AreThoseThatTclTakesAsOne) {
    in_process_interpreter tcl;
    std::size_t bare = 0, braced = 0;
    for (const std::string& value : nastyValues()) {
        const bool isText = value.find('\0') == std::string::npos && value.find('\xFF') == std::string::npos;
        const bool isBare = isText && staysOneWord(tcl, value, value);
        const bool isBraced = isText && staysOneWord(tcl, "{" + value + "}", value);
        // A "$" that names no variable stands for itself, but is not relied on.
        const bool isOpen = isBare && value.find('$') != std::string::npos;
        EXPECT_TRUE(isOpen || is_bare_word(value) == isBare) << testing::PrintToString(value);
        EXPECT_EQ(is_braced_word(value), isBraced) << testing::PrintToString(value);
        bare += isBare, braced += isBraced;
    }
    EXPECT_GT(bare, 100U);
    EXPECT_GT(braced, bare);
}

}  // namespace
