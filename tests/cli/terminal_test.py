"""The command kp at home on a user's machine: pipes, terminals and signals."""

import fcntl
import os
import random
import re
import shutil
import signal
import subprocess
from pathlib import Path

from kp_case import KP, KpCase, OnTerminal, run


class TerminalTest(KpCase):
    def test_a_word_that_is_none_is_named_with_what_was_meant(self):
        rows = [(["--bogus"], "'--bogus' is not an option of kp; see kp --help"), (["-"], "A subcommand is required"),
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
                (["cat", "large.kp", "ip_repo/example_kernels_vadd_1_0/large.bin"], None, signal.SIGTERM, ""),
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
            if arguments[0] == "cat":  # half of a piece is taken, and then no more
                os.read(work.process.stdout.fileno(), 1 << 15)
                work.read_until(None)
            work.process.send_signal(number)
            work.process.wait(10)  # though nobody reads the answer
            status, out, rest = work.finish()
            self.assertEqual((128 + number, arguments[0] == "cat"), (status, out != ""), arguments)
            self.assertTrue((screen + rest).endswith(end), (arguments, screen + rest))
            lock.seek(0)
            self.assertTrue(before == lock.read() and os.path.samestat(os.fstat(lock.fileno()), os.stat("p.kp")))
            self.assertEqual(([], []), (os.listdir("tmp"), os.listdir("out")), arguments)
            self.assertEqual([], [name for name in os.listdir(".") if ".kp-" in name or name == "new.kp"])
        with self.assertRaises(ProcessLookupError):
            os.kill(int(Path("shell.pid").read_text()), 0)

        if not os.environ["KP_SANITIZE"]:  # which do not work in what is traced
            with open("copy", "wb") as copy:  # that takes every piece whole
                self.assertEqual(143, subprocess.call(["strace", "-qqo/dev/null", "-einject=write:signal=TERM:when=2", KP, *rows[4][0]], stdout=copy))
            self.assertLess(os.path.getsize("copy"), 1_000_000)
        ignoring = subprocess.run(["sh", "-c", 'trap "" INT; "$KP" verify large.kp & sleep 0.05; kill -INT $!; wait $!'],
                                  capture_output=True, text=True)
        self.assertEqual((0, "digest: valid\n"), (ignoring.returncode, ignoring.stdout))

    def test_a_reader_may_stop_and_a_full_disk_is_an_error(self):
        Path("vadd/ip/large.bin").write_bytes(bytes(100_000_000))
        self.add("p.kp")
        member = "ip_repo/example_kernels_vadd_1_0/large.bin"
        shutil.copy("p.kp", "changed.kp")
        subprocess.run(["zip", "-q", "changed.kp", "vadd/README.md"], check=True)
        refused = ('kp: error: Failed to customize RTL kernel IP. Exception: invalid command name "create_project"; give a script or '
                   "a shell that knows the host's commands with --host-script or --tcl-shell\n")
        rows = [(["list", "p.kp", "--json"], 0, ""), (["cat", "p.kp", member], 0, ""), (["info", "p.kp"], 0, ""), (["--help"], 0, ""),
                (["verify", "changed.kp"], 1, ""),
                (["customize", "p.kp", "vadd", "--name=n", "-o./n.kp", "--board=b", "--keep-scripts=-"], 3, refused)]
        for arguments, status, said in rows:
            reading, writing = os.pipe()
            os.close(reading)
            full = (3, said + "kp: error: Failed to write to standard output: No space left on device\n")
            for target, expected in ((writing, (status, said)), (os.open("/dev/full", os.O_WRONLY), full)):
                done = subprocess.run([KP, *arguments], stdout=target, stderr=subprocess.PIPE, text=True)
                os.close(target)
                self.assertEqual(expected, (done.returncode, done.stderr), arguments)

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
                (["verify", "p.kp", "-j1"], {"KP_PROGRESS_DELAY": "60000"}, 0, "digest: valid\n", ""),
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
