#include "platform/base/HUTInterrupt.h"
#include "platform/tcl/InProcessInterpreter.h"
#include "platform/tcl/TaskManager.h"
#include "platform/tcl/TclShell.h"
#include "platform/tcl/Words.h"

#include <chrono>
#include <csignal>
#include <ctime>
#include <fstream>
#include <thread>
#include <typeinfo>

#include <gmock/gmock.h>
#include <sys/wait.h>

using namespace tkq::tcltasks;
using namespace std::string_literals;

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

TEST(Evaluators, GiveWhatTclGives) {
    const std::string large(5'000'000, 'x');
    const std::pair<std::string, std::string> cases[] = {
        {"set x 1\nset y 2; # a remark\n", "2"},
        {"proc f {} {return $::x}; f", "1"},
        {"string length \"gr\xC3\xBC\xC3\x9F \xE6\xBC\xA2\"", "6"},
        {"format a%cb 0", "a\0b"s},
        {"set text \"0 3\\nabc\\r\\n\\x1a end\"", "0 3\nabc\r\n\x1A end"},
        {"encoding system", "utf-8"},
        {"puts {0 5}; puts {hello}; puts stderr {1 2}; puts -nonewline x; set done ok", "ok"},
        {"return early; set x late", "early"},
        {"error \"two\\nlines\"", "tcl_error: two\nlines"},
        {"error {" + large + "}", "tcl_error: " + large},
        {"set open {", "tcl_error: missing close-brace"},
        {"break", "tcl_error: invoked \"break\" outside of a loop"},
        {"return -code 7 reason", "tcl_error: command returned bad code: 7"},
        {"after 120; set x", "1"},
    };
    in_process_interpreter interpreter;
    tcl_shell shell("tclsh8.6");
    for (tcl_evaluator* evaluator :
         {static_cast<tcl_evaluator*>(&interpreter), static_cast<tcl_evaluator*>(&shell)}) {
        testing::internal::CaptureStdout();
        for (const auto& [script, expected] : cases)
            EXPECT_TRUE(outcome(*evaluator, script) == expected)
                << typeid(*evaluator).name() << ": " << script.substr(0, 80);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "standard output is not for scripts";
        HUTInterrupt::request();
        EXPECT_THROW(evaluator->evaluate("set x late"), HEXInterrupted);
        HUTInterrupt::clear();
        const std::clock_t before = std::clock();
        const std::jthread interruption([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            HUTInterrupt::request();
        });
        EXPECT_THROW(evaluator->evaluate("after 300; set y"), HEXInterrupted);
        HUTInterrupt::clear();
        EXPECT_EQ(outcome(*evaluator, "set x"), "1") << "not the answer that comes late";
        EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20) << "of this process, which waits";
    }
    EXPECT_EQ(outcome(interpreter, "exit 3"), "tcl_error: A script cannot end the process that it runs in");
}

/// Whether a process ends within two seconds, if only as a zombie.
bool endsSoon(const std::string& id) {
    const auto isRunning = [&] {
        std::string text;
        std::getline(std::ifstream("/proc/" + id + "/stat"), text);
        return !text.empty() && text.find(") Z ") == std::string::npos;
    };
    for (int i = 0; i < 100 && isRunning(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return !isRunning();
}

TEST(Shell, TellsHowItEnded) {
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"exec tclsh8.6", "exec sleep 300 &; exit", "ended with status 0"},
        {"exec tclsh8.6", "exec kill -KILL [pid]; after 10000", "was ended by signal 9 (Killed)"},
        {"sh -c 'tclsh8.6; exit 9'", "exit 3", "ended with status 9"},
        {"exec no-such-shell", "set x", "ended with status 127"},
        {"exec python3 -c 'import os; os.closerange(3, 256); os.system(\"sleep 9\")'", "set x",
         "closed its pipe"},
        {"sleep 0.2; exit 5", std::string(1'000'000, ' '), "ended with status 5"},
    };
    const std::clock_t begin = std::clock();
    for (const auto& [command, script, ending] : cases) {
        tcl_shell shell(command);
        const std::string expected = "HEXError: The Tcl shell '" + command + "' " + ending;
        EXPECT_EQ(outcome(shell, script), expected);
        EXPECT_EQ(outcome(shell, "set x"), expected) << "asked again";
    }
    EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC / 2) << "it sleeps while it waits for shells";
    for (const std::string answer : {"junk", "x2", "1 99999999999999999999", "1 2x"}) {
        tcl_shell shell("exec tclsh8.6");
        EXPECT_EQ(outcome(shell, "foreach f [chan names file*] {catch {puts $f {" + answer + "}; flush $f}}"),
                  "HEXError: The Tcl shell sent what is no answer");
    }
    tcl_shell dying("exec tclsh8.6");
    HUTInterrupt::setQuestion([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        return false;
    });
    EXPECT_EQ(outcome(dying, "exec sh -c \"sleep 0.1; kill [pid]\" &; list last words"), "last words");
    HUTInterrupt::setQuestion({});
    const auto child = std::signal(SIGCHLD, SIG_IGN), hangup = std::signal(SIGHUP, SIG_IGN);
    tcl_shell shell("exec tclsh8.6"), ended("exit 5");
    EXPECT_THAT(shell.evaluate("read [open /proc/self/status]"),
                testing::ContainsRegex("SigIgn:[^\n]*000\n"));  // all but that for pipes
    EXPECT_EQ(outcome(ended, "set x"), "HEXError: The Tcl shell 'exit 5' ended");
    std::signal(SIGCHLD, child), std::signal(SIGHUP, hangup);
}

TEST(Shell, LeavesScriptsItsStreamsAndCommands) {
    testing::internal::CaptureStderr();
    {
        tcl_shell shell("tclsh8.6 2>&1; echo end >&2");
        EXPECT_EQ(shell.evaluate("puts {0 2}; puts ab; list [gets stdin line] [eof stdin]"), "-1 1");
        shell.evaluate("rename puts {}; proc puts args {error mine}; rename gets {}");
        EXPECT_EQ(outcome(shell, "puts x"), "tcl_error: mine");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "0 2\nab\nend\n");
}

TEST(Shell, TakesItsProcessesAlong) {
    testing::internal::CaptureStderr();
    // The second stays when its pipe closes, the third also when it is asked to end.
    for (const std::string command : {"tclsh8.6", "trap 'sleep 0.1; echo asked >&2' TERM; tclsh8.6; sleep 9",
                                      "trap '' TERM; tclsh8.6; sleep 300"}) {
        std::string shell, background;
        {
            tcl_shell evaluator(command);
            shell = evaluator.evaluate("pid");
            background = evaluator.evaluate("exec sleep 300 >/dev/null &");
        }
        EXPECT_TRUE(endsSoon(shell)) << command;
        EXPECT_TRUE(endsSoon(background)) << command;
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "not even a zombie is left";
    }
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::EndsWith("asked\n"));
}

TEST(TaskManager, RecordsWhatTheEvaluatorOfTheScopeIsGiven) {
    task_manager& manager = task_manager::instance();
    std::string seen;
    const recorder_scope recording([&](const std::string& script, record_flag flag) {
        seen += (flag == record_command ? "+" : "-") + script;
    });
    const evaluator_scope scope(std::make_shared<tcl_shell>("tclsh8.6"));
    EXPECT_EQ(manager.eval_in_tcl_throw("set x 6", record_command, false), "6");
    { const evaluator_scope inner(std::make_shared<tcl_shell>("exit")); }
    EXPECT_THROW(manager.eval_in_tcl_throw("fail $x", dont_record_command, false), tcl_error);
    testing::internal::CaptureStderr();
    EXPECT_EQ(manager.eval_in_tcl_throw("set x", dont_record_command, true), "6");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "set x\n");
    EXPECT_EQ(seen, "+set x 6-fail $x-set x");
}

/// Whether Tcl takes what is written as one word of this value, in each place that a script may have for it.
bool staysOneWord(tcl_evaluator& tcl, const std::string& written, const std::string& value) {
    const std::string command = "take first " + written + " last";
    for (const std::string& script :
         {command, "set result [" + command + "]", "if {1} {\n  " + command + "\n}"}) {
        tcl.evaluate("proc take {first {word {}} args} {set ::taken $args:$word}; set taken {}");
        outcome(tcl, script);
        if (tcl.evaluate("set taken") != "last:" + value) return false;
    }
    return true;
}

TEST(Words, AreThoseThatTclTakesAsOne) {
    // A "$" that names no variable stands for itself, but is not relied on; so it has a name here.
    const std::string pieces[] = {"",  "a",  "-",   " ",        "\t",   "\n",   "\r", "\v",
                                  ";", "\\", "\"",  "{",        "}",    "[",    "]",  "#",
                                  "*", "(",  "{*}", "\xC3\xBC", "\x1A", "\\\n", "$x"};
    constexpr std::size_t count = std::size(pieces);
    in_process_interpreter tcl;
    for (std::size_t i = 0; i < count * count * count; ++i) {
        const std::string value = pieces[i % count] + pieces[i / count % count] + pieces[i / count / count];
        const bool isBare = staysOneWord(tcl, value, value);
        const bool isBraced = staysOneWord(tcl, "{" + value + "}", value);
        EXPECT_EQ(is_bare_word(value), isBare) << testing::PrintToString(value);
        EXPECT_EQ(is_braced_word(value), isBraced) << testing::PrintToString(value);
    }
    for (const std::string& noText : {"a\0b"s, "a\xFF"s, "\xED\xA0\x80"s})
        EXPECT_FALSE(is_bare_word(noText) || is_braced_word(noText));
    EXPECT_FALSE(is_bare_word("a$"));
}

}  // namespace
