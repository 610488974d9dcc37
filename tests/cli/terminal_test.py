"""The command kp at home on a user's machine: its help, pages and completions, pipes, terminals and signals."""

import fcntl
import json
import os
import random
import re
import shutil
import signal
import subprocess
import time
import unittest
import zipfile
from pathlib import Path

from kp_case import KP, KpCase, OnTerminal, run

SHARE = os.environ["KP_SHARE_DIR"]
SECTIONS = dict(part.split("\n", 1) for part in Path(os.environ["KP_HANDBOOK"]).read_text().split("\n## ")[1:])
COMMANDS = [title[3:] for title in SECTIONS if title.startswith("kp ")]


class TerminalTest(KpCase):
    def test_help_handbook_and_man_pages_know_the_same_commands_and_options(self):
        listed = set()
        for command in COMMANDS:
            status, shown, _ = run(*command.split(), "--help")
            self.assertEqual(0, status)
            self.assertIn(f"Example:\n  kp {command}", shown)
            options = {*re.findall(r"^  (?:-\w,)?(--[a-z-]+)", shown, re.M)} - {"--help"}
            self.assertEqual(options, {*re.findall(r"--[a-z][a-z-]+", SECTIONS["kp " + command])} - {"--help"}, command)
            page = Path(f"{SHARE}/man/man1/kp-{command.replace(' ', '-')}.1").read_text()
            self.assertIn(f"\n.SY \"kp {command}\"\n".replace("-", "\\-"), page)
            listed.update(command.split()[:1])
        self.assertEqual(listed, set(re.findall(r"^  ([a-z-]+) ", run("--help")[1].split("Subcommands:")[1]
                                                .split("Examples:")[0], re.M)))
        statuses = re.findall(r"^\| (\d+) \|", SECTIONS["Exit status"], re.M)
        self.assertEqual(statuses, re.findall(r"^  (\d+) ", run("--help")[1].split("Exit status:")[1], re.M))
        pages = sorted(os.listdir(SHARE + "/man/man1"))
        self.assertEqual(sorted(["kp.1", "kp-kernel.1", *(f"kp-{command.replace(' ', '-')}.1" for command in COMMANDS)]), pages)
        for words in [], ["kernel"], ["kernel", "show"], ["help"]:
            self.expect(["help", *words], 0, run(*words, "--help")[1])
        for words in [], ["-q"], ["kernel"]:
            self.expect(words, 2, "", run(*words, "--help")[1])
        if shutil.which("groff"):
            checked = subprocess.run(["groff", "-man", "-ww", "-z", *pages], cwd=SHARE + "/man/man1",
                                     capture_output=True, text=True)
            self.assertEqual((0, "", ""), (checked.returncode, checked.stdout, checked.stderr))

    def test_bash_completes_subcommands_options_and_values(self):
        script = ('source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); compopt() { :; }; _kp; '
                  'printf "%s\\n" "${COMPREPLY[@]}"')
        os.makedirs("vadd/two words")
        odd = "a $(touch hit)`touch hit`'!.txt"
        for name in (odd, "a\nb.txt", "a:b=c.txt"):
            Path("vadd/src", name).touch()
        self.add("p q.kp", "--debug-dir", "vadd/src", "-q")
        debug, quoted = "vadd/debug/", "vadd/debug/a\\ \\$\\(touch\\ hit\\)\\`touch\\ hit\\`\\'\\!.txt"
        rows = [(["va"], "validate"), (["kernel", "e"], "edit"), (["-q", "kernel", "show", "--j"], "--json"),
                (["add", "p.kp", "--cp"], "--cpu-source"), (["add", "--layout", "r"], "repo"),
                (["validate", "p.kp", "--target", "=", "hw_"], "hw_emu"), (["add", "list", "--la"], "--layout"),
                (["extract", "p.kp", "-d", "vadd/tw"], "vadd/two words"), (["add", "p.kp", ""], ""),
                (["-q", "extract", "p\\ q.kp", "--force", ""], "vadd"), (["customize", "--name", "x", "'p q.kp'", "v"], "vadd"),
                (["cat", '"p q.kp"', debug + "a\\ "], quoted), (["cat", "p\\ q.kp", "'" + debug + "a "], ""),
                (["cat", '"p q.kp"', '"' + debug + "a "], ""), (["cat", "p\\ q.kp", debug + "a", ":", "b"], "b=c.txt"),
                (["cat", "--", "p\\ q.kp", "vadd/k"], "vadd/kernel.xml"), (["cat", "p\\ q.kp", "vadd/kernel.xml", ""], ""),
                (["extract", "$(touch\\ hit)", ""], ""), (["files", "none.kp", "v"], ""), (["extract", "p\\ q.kp", "-d", "v"], "vadd"),
                (["remove", "p\\ q.kp", "--dry-run", "v"], "vadd"), (["help", "ker"], "kernel"), (["help", "kernel", "r"], "report")]
        for words, expected in rows:
            completed = subprocess.run(["bash", "-c", script, SHARE + "/bash-completion/completions/kp", "kp", *words],
                                       capture_output=True, text=True, env={**os.environ, "PATH": f"{Path(KP).parent}:{os.environ['PATH']}"})
            self.assertEqual((expected + "\n", ""), (completed.stdout, completed.stderr), words)
        self.assertFalse(os.path.exists("hit"))

    def test_a_word_that_is_none_is_named_with_what_was_meant(self):
        rows = [(["--bogus"], "'--bogus' is not an option of kp; see kp --help"),
                (["--versoin"], "'--versoin' is not an option of kp; did you mean '--version'?"),
                (["list", "p.kp", "--jsno"], "'--jsno' is not an option of kp list; did you mean '--json'?"),
                (["kernel", "edit", "k.xml", "--reprot=r.xml"],
                 "'--reprot' is not an option of kp kernel edit; did you mean '--report'?"),
                (["help", "lst"], "'lst' is not a subcommand; did you mean 'list'?"),
                (["help", "add", "list"], "'add list' is not a subcommand; see kp add --help"),
                (["help", "--", "-x"], "'-x' is not a subcommand; see kp --help"),
                (["lst", "--help"], "'lst' is not a subcommand; did you mean 'list'?"),
                (["-q", "lsit", "p.kp", "--json"], "'lsit' is not a subcommand; did you mean 'list'?"),
                (["kernel", "shw"], "'kernel shw' is not a subcommand; did you mean 'kernel show'?"),
                (["bogus"], "'bogus' is not a subcommand; see kp --help"),
                (["kernel", "bogus"], "'kernel bogus' is not a subcommand; see kp kernel --help")]
        for arguments, text in rows:
            self.expect(arguments, 2, "", f"kp: error: {text}\n")

    def test_a_dash_is_standard_input_or_output_and_paths_may_be_anything(self):
        description, report = Path("vadd/kernel.xml").read_text(), Path("vadd/design.xml").read_text()
        self.expect(["kernel", "edit", "vadd/kernel.xml", "-o", "one", "--report", "vadd/design.xml"], 0)
        edited = Path("one/kernel.xml").read_text()
        self.expect(["kernel", "edit", "vadd/kernel.xml", "-o", "-", "--report", "-"], 0, edited, stdin=report)
        self.expect(["kernel", "edit", "-", "-o", "-", "--report", "vadd/design.xml"], 0, edited, stdin=description)
        self.expect(["kernel", "report", "one/kernel.xml", "-o", "r.xml"], 0)
        self.expect(["kernel", "report", "-", "-o", "-"], 0, Path("r.xml").read_text(), stdin=edited)
        self.expect(["kernel", "show", "-"], 3, "", "kp: error: [17-132] /dev/stdin:2: unclosed token\n", stdin="\n<r")
        self.expect(["kernel", "edit", "-", "-o", "x", "--report", "-"], 2, "",
                    "kp: error: --report: standard input can be only one of the files\n")
        os.mkdir("tmp")
        for package in ("-x.kp", "zwei Wörter.kp"):
            self.expect(["add", "--ip", "vadd/ip", "--report", "vadd/design.xml", "--", package, "-"], 0,
                        stdin=description, TMPDIR="tmp")
            self.expect(["list", "--", package], 0, "vadd  hw_emu,hw  rtl\n")
            self.expect(["cat", "./" + package, "vadd/kernel.xml"], 0, edited)
        self.assertEqual([], os.listdir("tmp"))

    def test_a_dry_run_tells_what_the_addition_does_and_changes_nothing(self):
        def state():
            found = {name: os.stat(name) for name in [".", *os.listdir(".")]}
            return {name: (file.st_ino, file.st_size, file.st_mtime_ns, file.st_ctime_ns) for name, file in found.items()}

        def members():
            with zipfile.ZipFile("p.kp") as package:
                return {info.filename: info.CRC for info in package.infolist()}

        self.derive("other")
        os.makedirs("less/empty")
        shutil.copy("vadd/ip/component.xml", "less")
        self.derive("third")
        steps = [["vadd/kernel.xml", "--ip", "vadd/ip", "--debug-dir", "vadd/src", "--layout", "repo"],
                 ["other.xml", "--ip", "vadd/ip", "--cpu-source", "vadd/src/vadd.cpp"],
                 ["--name", "VADD", "--update", "--pdi", "vadd/vadd.qmr", "--shim", "vadd/vadd.qmr"],
                 ["vadd/kernel.xml", "--ip", "less", "--replace", "--sw-emu", "vadd/vadd.qmr", "--pdi", "vadd/vadd.qmr"]]
        after = {}
        for step in steps:
            before, untouched = after, state()
            status, out, err = run("add", "p.kp", *step, "--dry-run", "--json")
            self.assertEqual((0, untouched), (status, state()))
            plan = json.loads(out)
            lines = run("add", "p.kp", *step, "--dry-run")[1].splitlines()
            self.assertEqual((0, "", err), run("add", "p.kp", *step))
            after, kernels = members(), json.loads(run("list", "p.kp", "--json")[1])["kernels"]
            self.assertIn(plan["kernel"], kernels)
            self.assertEqual(sorted(after.keys() - before.keys()), plan["added"])
            self.assertEqual(sorted(before.keys() - after.keys()), plan["removed"])
            self.assertEqual(sorted(name for name in before if after.get(name, before[name]) != before[name]),
                             plan["replaced"])
            self.assertEqual([mark + " " + name for mark, key in zip("+~-", ("added", "replaced", "removed"))
                              for name in plan[key]], lines[1:])
            self.assertEqual(plan["kernel"]["name"], lines[0].split()[0])
        self.assertIn("ip_repo/example_kernels_vadd_1_0/empty/", plan["added"])

        damaged = bytearray(Path("p.kp").read_bytes())
        damaged[damaged.index(b"component.xml")] ^= 1  # in the member's own header
        Path("damaged.kp").write_bytes(damaged)
        arguments = ["add", "damaged.kp", "third.xml", "--ip", "vadd/ip"]
        real = run(*arguments)
        self.assertEqual((3, real), (real[0], run(*arguments, "--dry-run")))
        untouched = state()
        refused = [["p.kp", "vadd/kernel.xml", "--ip", "vadd/ip"], ["p.kp", "none.xml", "--ip", "vadd/ip"],
                   ["n.kp", "other.xml", "--cpu-source", "none.cpp"], ["none/p.kp", "other.xml", "--ip", "vadd/ip"],
                   ["vadd", "other.xml", "--ip", "vadd/ip"], ["n.kp", "other.xml"], ["n.kp", "--update"],
                   ["p.kp", "other.xml", "--ip", "vadd/ip", "--replace", "--layout", "kernel"]]
        for arguments in refused:
            real, dry = run("add", *arguments), run("add", *arguments, "--dry-run")
            self.assertEqual((real, untouched), (dry, state()), arguments)
            self.assertIn(real[0], (2, 3))
        self.expect(["add", "p.kp", "other.xml", "--json"], 2, "", "kp: error: --json requires --dry-run\n")

    def test_signals_end_work_at_once_and_leave_nothing_behind(self):
        self.add("p.kp")
        Path("vadd/ip/large.bin").write_bytes(random.Random(1).randbytes(150_000_000))
        self.add("large.kp")
        os.mkdir("tmp")
        os.mkdir("out")
        Path("loop.tcl").write_text("puts stderr ready\ncatch {while 1 {incr i}}\nputs stderr survived\n")
        update = ["add", "p.kp", "vadd/kernel.xml", "--ip", "vadd/ip", "--update", "--replace"]
        Path("late.tcl").write_text("proc create_project args {source loop.tcl}\n")
        customize = ["customize", "p.kp", "vadd", "--name", "new", "-o", "new.kp", "--board", "b", "--host-script", "loop.tcl"]
        customize_in_shell = [*customize[:-1], "late.tcl", "--tcl-shell", "echo $$ > shell.pid; exec tclsh"]
        drawn, erased, ready = "left\x1b[K", "\r\x1b[K", "ready\r\r\n"
        # What is worked at, what the screen shows before the signal, the signal, and the end of the screen.
        rows = [(update, drawn, signal.SIGINT, erased), (["verify", "large.kp"], drawn, signal.SIGTERM, erased),
                (["diff", "large.kp", "large.kp"], drawn, signal.SIGINT, erased),
                (["extract", "large.kp", "-d", "out"], drawn, signal.SIGHUP, erased),
                (customize, ready, signal.SIGINT, ready), (customize_in_shell, ready, signal.SIGTERM, ready),
                ([*update, "-q"], None, signal.SIGINT, ""), (["kernel", "show", "-"], None, signal.SIGTERM, ""),
                (["kernel", "show", "pipe"], None, signal.SIGINT, "")]
        os.mkfifo("pipe")
        before = Path("p.kp").read_bytes()
        lock = open("p.kp", "rb+")
        self.addCleanup(lock.close)
        for arguments, shown, number, end in rows:
            if shown is None:
                fcntl.flock(lock, fcntl.LOCK_EX)
            work = OnTerminal(*arguments, TMPDIR="tmp")
            self.addCleanup(work.process.kill)
            screen = work.read_until(shown)
            work.process.send_signal(number)
            sent = time.monotonic()
            status, out, rest = work.finish()
            self.assertLess(time.monotonic() - sent, 10, arguments)
            self.assertEqual((128 + number, ""), (status, out), arguments)
            self.assertTrue((screen + rest).endswith(end), (arguments, screen + rest))
            lock.seek(0)
            self.assertTrue(before == lock.read() and os.path.samestat(os.fstat(lock.fileno()), os.stat("p.kp")))
            self.assertEqual(([], []), (os.listdir("tmp"), os.listdir("out")), arguments)
            self.assertEqual([], [name for name in os.listdir(".") if ".kp-" in name or name == "new.kp"])
        with self.assertRaises(ProcessLookupError):
            os.kill(int(Path("shell.pid").read_text()), 0)

        ignoring = subprocess.run(["sh", "-c", 'trap "" INT; "$KP" verify large.kp & sleep 0.05; kill -INT $!; wait $!'],
                                  capture_output=True, text=True)
        self.assertEqual((0, "digest: valid\n"), (ignoring.returncode, ignoring.stdout))

    def test_a_reader_may_stop_and_a_full_disk_is_an_error(self):
        Path("vadd/ip/large.bin").write_bytes(bytes(100_000_000))
        self.add("p.kp")
        member = "ip_repo/example_kernels_vadd_1_0/large.bin"
        shutil.copy("p.kp", "changed.kp")
        subprocess.run(["zip", "-q", "changed.kp", "vadd/README.md"], check=True)
        rows = [(["list", "p.kp", "--json"], 0), (["cat", "p.kp", member], 0), (["info", "p.kp"], 0),
                (["--help"], 0), (["verify", "changed.kp"], 1)]
        for arguments, status in rows:
            reading, writing = os.pipe()
            os.close(reading)
            for target, expected in ((writing, (status, "")),
                                     (os.open("/dev/full", os.O_WRONLY),
                                      (3, "kp: error: Failed to write to standard output: No space left on device\n"))):
                done = subprocess.run([KP, *arguments], stdout=target, stderr=subprocess.PIPE, text=True)
                os.close(target)
                self.assertEqual(expected, (done.returncode, done.stderr), arguments)

        reading, writing = os.pipe()
        os.close(reading)
        failing = subprocess.run([KP, "customize", "p.kp", "vadd", "--name=n", "-o./n.kp", "--board=b", "--keep-scripts=-"],
                                 stdout=writing, stderr=subprocess.PIPE, text=True)
        os.close(writing)
        self.assertEqual(3, failing.returncode)
        self.assertIn('kp: error: Failed to customize RTL kernel IP. Exception: invalid command name', failing.stderr)

    def test_a_terminal_alone_has_colours_and_bars_of_long_work(self):
        self.add("short.kp")
        Path("vadd/ip/large.bin").write_bytes(random.Random(1).randbytes(20_000_000))
        self.add("p.kp")  # which sees to it that nothing comes on a pipe
        damaged = bytearray(Path("p.kp").read_bytes())
        damaged[10_000_000] ^= 1
        Path("damaged.kp").write_bytes(damaged)
        plain = r"(\r *\d+% \[#*-*\]  \d+\.\d MB/s  \d+:\d\d left\x1b\[K)+\r\x1b\[K"
        coloured = plain.replace("#*", "\x1b\\[32m#*\x1b\\[0m")
        needed = ": PACKAGE is required\r\n"
        # With several threads work this short may be done before it is told of for the first time.
        rows = [(["list"], {}, 2, "", rf"kp: \x1b\[31merror\x1b\[0m{needed}"),
                *[(["list"], other, 2, "", "kp: error" + needed) for other in ({"NO_COLOR": "1"}, {"TERM": "dumb"})],
                (["verify", "p.kp", "-j1"], {"NO_COLOR": "1"}, 0, "digest: valid\n", plain),
                (["verify", "p.kp", "-q"], {}, 0, "digest: valid\n", ""),
                (["verify", "p.kp"], {"TERM": "dumb"}, 0, "digest: valid\n", ""),
                (["verify", "short.kp"], {"KP_PROGRESS_DELAY": ""}, 0, "digest: valid\n", ""),
                (["extract", "p.kp", "-d", "out", "-j1"], {}, 0, "out/vadd\n", f"({coloured}){{2}}"),
                (["extract", "damaged.kp", "-d", "none", "-j1"], {}, 3, "", coloured + r"kp: \x1b\[33mwarning\x1b\[0m: \[17-1396\] .*\r\n"
                 + coloured + r"kp: \x1b\[31merror\x1b\[0m: Failed to read '.*/large.bin' of .*: its checksum differs\r\n")]
        for arguments, environment, status, answer, screen in rows:
            done = OnTerminal(*arguments, **environment).finish()
            self.assertEqual((status, answer), done[:2])
            self.assertRegex(done[2], rf"\A{screen}\Z", arguments)
            for bar in done[2].split("\r\x1b[K"):
                percents = [int(percent) for percent in re.findall(r"(\d+)%", bar)]
                self.assertEqual(sorted(percents), percents)


if __name__ == "__main__":
    unittest.main()
