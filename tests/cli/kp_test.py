"""The command kp as a user meets it: answers, exit statuses, errors, and what survives crowds and kills."""

import json
import os
import pty
import random
import re
import shutil
import signal
import subprocess
import tempfile
import time
import unittest
import zipfile

KP = os.environ["KP"]
EXAMPLE = os.environ["KP_EXAMPLES_DIR"] + "/vadd"


def run(*arguments, **environment):
    done = subprocess.run([KP, *arguments], capture_output=True, text=True, env={**os.environ, **environment})
    return done.returncode, done.stdout, done.stderr


class OnTerminal:
    """A run of kp whose standard error is a terminal of its own."""

    def __init__(self, *arguments, **environment):
        self.screen, terminal = pty.openpty()
        self.process = subprocess.Popen([KP, *arguments], stdout=subprocess.PIPE, stderr=terminal,
                                        env={**os.environ, "TERM": "xterm", "NO_COLOR": "", **environment})
        os.close(terminal)

    def read(self):
        """What comes on the screen next; nothing at the end."""
        try:
            return os.read(self.screen, 1 << 16).decode()
        except OSError:  # the other end is closed
            return ""

    def finish(self):
        """The exit status, standard output, and the rest of the screen."""
        shown = "".join(iter(self.read, ""))
        out = self.process.communicate()[0].decode()
        os.close(self.screen)
        return self.process.returncode, out, shown


class KpTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.directory = tempfile.mkdtemp(prefix="kp-cli-")
        self.addCleanup(shutil.rmtree, self.directory)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.directory)
        shutil.copytree(EXAMPLE, "vadd")

    def expect(self, arguments, status, stdout="", stderr=""):
        self.assertEqual((status, stdout, stderr), run(*arguments), arguments)

    def add(self, package, *more):
        self.expect(["add", package, "vadd/kernel.xml", "--ip", "vadd/ip", *more], 0)

    def derive(self, name):
        """A kernel description like the example's under another name and VLNV."""
        with open("vadd/kernel.xml") as source, open(name + ".xml", "w") as target:
            target.write(source.read().replace('name="vadd"', f'name="{name}"').replace(":vadd:", f":{name}:"))
        return name + ".xml"

    def test_list_and_validate(self):
        self.add("p.kp", "--cpu-source", "vadd/src/vadd.cpp", "--project", "lab 7")
        self.expect(["add", "p.kp", self.derive("vadd_hw"), "--ip", "vadd/ip", "--pdi", "vadd/vadd.qmr"], 0)
        self.expect(["list", "p.kp"], 0, "vadd     sw_emu,hw_emu,hw  rtl\nvadd_hw  hw_emu,hw         rtl,pdi\n")
        status, out, _ = run("list", "--json", "p.kp")
        listed = json.loads(out)
        self.assertEqual(["formatVersion", "softwareVersion", "ipCaches", "kernels"], list(listed))
        self.assertEqual(("6.0", "2020.1", []), tuple(listed.values())[:3])
        self.assertEqual({"name": "vadd", "directory": "vadd", "ip": "ip_repo/example_kernels_vadd_1_0", "topIpDir": ".",
                          "projectId": "lab 7", "flows": ["sw_emu", "hw_emu", "hw"], "rtl": True, "debug": False,
                          "debugDir": False, "hlsDir": False, "pdiDir": False, "shimSolnDir": False,
                          "swEmuDir": False}, listed["kernels"][0])
        self.assertIs(True, listed["kernels"][1]["pdiDir"])

        self.expect(["validate", "p.kp", "--target", "hw"], 0, "vadd\nvadd_hw\n")
        refusal = "The RTL kernel 'vadd_hw' in 'p.kp' is not supported for CPU emulation target"
        self.expect(["validate", "p.kp", "--target=sw_emu"], 1, "", f"kp: error: {refusal}\n")
        status, out, err = run("validate", "p.kp", "--target", "sw_emu", "--json")
        self.assertEqual((1, ""), (status, err))
        self.assertEqual({"target": "sw_emu", "valid": False, "kernels": ["vadd"], "reason": refusal}, json.loads(out))

    def test_the_archive_satisfies_other_tools(self):
        self.add("p.kp", "--report", "vadd/design.xml", "--ip-instance", "vadd/vadd.qmr")
        for command in (["unzip", "-tqq", "p.kp"], ["7zz", "t", "p.kp"], ["bsdtar", "-tf", "p.kp"]):
            self.assertEqual(0, subprocess.run(command, capture_output=True).returncode, command)
        with zipfile.ZipFile("p.kp") as package:
            self.assertIsNone(package.testzip())
            self.assertEqual("kp.xml", package.namelist()[-1])
            with open("vadd/ip/component.xml", "rb") as source:
                self.assertEqual(source.read(), package.read("ip_repo/example_kernels_vadd_1_0/component.xml"))

    def test_verify(self):
        self.add("p.kp")
        self.expect(["verify", "p.kp"], 0, "digest: valid\n")
        subprocess.run(["zip", "-q", "p.kp", "vadd/README.md"], check=True)
        self.expect(["verify", "p.kp"], 1, "digest: mismatch\n")
        status, out, _ = run("verify", "p.kp", "--json")
        self.assertEqual((1, {"digest": "mismatch", "findings": []}), (status, json.loads(out)))
        os.remove("p.kp")
        self.add("p.kp", "--debug-dir", "vadd/src", "-q")
        subprocess.run(["zip", "-qd", "p.kp", "vadd/debug/*", "ip_repo/*"], check=True, stdout=subprocess.DEVNULL)
        ip = "ip_repo/example_kernels_vadd_1_0"
        self.expect(["verify", "p.kp"], 1, "digest: mismatch\nflag-without-folder: Kernel 'vadd': its flag 'Debug' is "
                    "set, but 'vadd/debug' is not in the package\nmissing-ip: Kernel 'vadd': its IP directory "
                    f"'{ip}' is not in the package\n")
        with open("p.kp", "wb") as broken:
            broken.write(b"PK")
        text = "'p.kp' is not a readable archive: it has no end of directory record"
        self.assertEqual({"digest": "unreadable", "findings": [{"code": "unreadable", "member": "", "text": text}]},
                         json.loads(run("verify", "p.kp", "--json")[1]))

    def test_info_and_files(self):
        self.add("p.kp", "--cpu-source", "vadd/src/vadd.cpp", "--shim", "vadd/vadd.qmr", "--hls-dir", "vadd/src", "-q")
        self.expect(["add", "p.kp", self.derive("other"), "--cpu-source", "vadd/src/vadd.cpp"], 0)
        self.expect(["files", "p.kp"], 0,
                    "vadd   root         vadd\n"
                    "vadd   description  vadd/kernel.xml\n"
                    "vadd   cpu-source   vadd/cpu_sources/vadd.cpp\n"
                    "vadd   shim         vadd/shim_soln/vadd.qmr\n"
                    "vadd   hls          vadd/hls\n"
                    "vadd   ip           ip_repo/example_kernels_vadd_1_0\n"
                    "other  root         other\n"
                    "other  description  other/kernel.xml\n"
                    "other  cpu-source   other/cpu_sources/vadd.cpp\n")
        other = {"name": "other", "root": "other", "description": "other/kernel.xml",
                 "cpuSources": ["other/cpu_sources/vadd.cpp"], "swEmuFiles": [], "pdiFiles": []}
        os.mkdir("elsewhere")
        os.chdir("elsewhere")
        self.assertEqual({"kernels": [other]}, json.loads(run("files", "../p.kp", "OTHER", "--json")[1]))
        os.chdir("..")
        self.expect(["files", "p.kp", "vad"], 3, "",
                    "kp: error: Kernel 'vad' was not found inside KP container 'p.kp'\n")
        for command in ("files", "info"):
            self.expect([command, "gone.kp"], 3, "",
                        "kp: error: The specified KP container does not exist: 'gone.kp'\n")

        lines = run("info", "p.kp")[1].splitlines()
        self.assertEqual(2, lines.count("=== Kernel Definition ==="))
        self.assertIn("ShimSolnFile: vadd/shim_soln/vadd.qmr", lines)
        kernels = {kernel["name"]: kernel for kernel in json.loads(run("info", "p.kp", "--json")[1])["kernelDefs"]}
        self.assertEqual(("true", "vadd/shim_soln/vadd.qmr", "m_read"),
                         (kernels["vadd"]["containsHlsDir"], kernels["vadd"]["shimSolnFile"],
                          kernels["vadd"]["args"][0]["port"]))
        self.assertNotIn("containsHlsDir", kernels["other"])
        with open("/dev/full", "w") as full:
            self.assertEqual(3, subprocess.run([KP, "info", "p.kp"], stdout=full, stderr=subprocess.DEVNULL).returncode)

    def test_extract(self):
        shutil.copytree("vadd/ip", "big/ip")
        for number in range(300):
            os.makedirs(f"big/ip/d{number % 7}", exist_ok=True)
            with open(f"big/ip/d{number % 7}/f{number}.v", "wb") as source:
                source.write(random.Random(number).randbytes(number * 20) + b"x" * number)
        self.add("p.kp", "--cpu-source", "vadd/src/vadd.cpp", "--debug-dir", "vadd/src", "-q")
        self.expect(["add", "p.kp", self.derive("vadd_big"), "--ip", "big/ip"], 0)
        self.expect(["extract", "p.kp", "VADD", "-d", "out/deep"], 0, "out/deep/vadd\n")
        for source, extracted in (("vadd/ip", "ip_repo/example_kernels_vadd_1_0"),
                                  ("big/ip", "ip_repo/example_kernels_vadd_big_1_0"), ("vadd/src", "vadd/debug")):
            self.assertEqual(0, subprocess.run(["diff", "-r", source, "out/deep/" + extracted]).returncode)
        self.assertEqual(["ip_repo", "vadd"], sorted(os.listdir("out/deep")))

        refusal = "kp: error: 'out/deep/vadd' exists already; --force replaces its files\n"
        with open("out/deep/vadd/kernel.xml", "w") as changed:
            changed.write("mine")
        self.expect(["extract", "p.kp", "-d", "out/deep"], 3, "", refusal)
        self.expect(["extract", "p.kp", "vadd_big", "-d", "out/deep"], 0, "out/deep/vadd_big\n")
        with open("out/deep/vadd/kernel.xml") as kept:
            self.assertEqual("mine", kept.read())
        self.expect(["extract", "p.kp", "-d", "out/deep", "--force"], 0, "out/deep/vadd\nout/deep/vadd_big\n")
        subprocess.run(["unzip", "-q", "p.kp", "-x", "kp.xml", "-d", "by_unzip"], check=True)
        self.assertEqual(0, subprocess.run(["diff", "-r", "by_unzip", "out/deep"]).returncode)
        status, out, err = run("extract", "p.kp", "vadd", "-d", "j", "--json")
        self.assertEqual((0, ""), (status, err))
        self.assertEqual({"kernels": [{"name": "vadd", "root": "j/vadd", "ipDir": "j/ip_repo"}]}, json.loads(out))

        self.expect(["extract", "p.kp", "none", "-d", "n"], 3, "",
                    "kp: error: Kernel 'none' was not found inside KP container 'p.kp'\n")
        self.expect(["extract", "gone.kp", "-d", "n"], 3, "",
                    "kp: error: The specified KP container does not exist: 'gone.kp'\n")
        later = dict(KP_SOFTWARE_VERSION="2019.4")
        with open("parameters", "w") as parameters:
            parameters.write("kp.enableVersionCheck = true\n")
        for arguments, environment in ((["--check-version"], later), ([], {**later, "KP_PARAM_FILE": "parameters"})):
            status, out, err = run("extract", "p.kp", "-d", "n", *arguments, **environment)
            self.assertEqual((3, ""), (status, out))
            self.assertIn("was created in version 2020.1, which is later than", err)
        self.assertFalse(os.path.exists("n"))
        self.assertEqual(0, run("extract", "p.kp", "-d", "n", **later)[0])

    def test_a_killed_extraction_leaves_whole_files_and_can_be_repeated(self):
        for number in range(400):
            with open(f"vadd/ip/f{number}", "wb") as source:
                source.write(random.Random(number).randbytes(20_000))
        self.add("p.kp")
        begin = time.monotonic()
        self.expect(["extract", "p.kp", "-d", "whole"], 0, "whole/vadd\n")
        duration = time.monotonic() - begin
        moments = random.Random(3)
        interrupted = 0
        for _ in range(20):
            process = subprocess.Popen([KP, "extract", "p.kp", "-d", "out", "--force"], stdout=subprocess.DEVNULL)
            time.sleep(moments.uniform(0, duration))
            process.send_signal(signal.SIGKILL)
            process.wait()
            for directory, _, files in os.walk("out"):
                if ".kp-incomplete" not in directory:
                    for name in files:
                        path = os.path.join(directory, name)
                        with open(path, "rb") as got, open(path.replace("out", "whole", 1), "rb") as expected:
                            self.assertEqual(expected.read(), got.read(), path)
            interrupted += os.path.isdir("out") and any("kp-incomplete" in name for name in os.listdir("out"))
            if moments.random() < 0.5:
                shutil.rmtree("out", ignore_errors=True)
        self.assertGreater(interrupted, 0)
        self.expect(["extract", "p.kp", "-d", "out", "--force"], 0, "out/vadd\n")
        self.assertEqual(0, subprocess.run(["diff", "-r", "whole", "out"]).returncode)

    def test_cat(self):
        with open("vadd/ip/every.bin", "wb") as binary:
            binary.write(bytes(range(256)) * 70_000)
        self.add("p.kp")
        with zipfile.ZipFile("p.kp") as package:
            for member in package.namelist():
                by_kp = subprocess.run([KP, "cat", "p.kp", member], capture_output=True)
                by_unzip = subprocess.run(["unzip", "-p", "p.kp", member], capture_output=True)
                self.assertEqual((0, b"", by_unzip.stdout), (by_kp.returncode, by_kp.stderr, by_kp.stdout), member)
        for member in ("vadd", "vadd/KERNEL.xml", "ip_repo/"):
            self.expect(["cat", "p.kp", member], 3, "", f"kp: error: 'p.kp' holds no file '{member}'\n")
        self.expect(["cat", "gone.kp", "kp.xml"], 3, "",
                    "kp: error: The specified KP container does not exist: 'gone.kp'\n")
        with open("/dev/full", "w") as full:
            failed = subprocess.run([KP, "cat", "p.kp", "kp.xml"], stdout=full, stderr=subprocess.PIPE, text=True)
        self.assertEqual((3, "kp: error: Failed to write to standard output\n"), (failed.returncode, failed.stderr))

    def test_add_cache(self):
        self.add("p.kp")
        os.makedirs("caches/c1")
        shutil.copy("vadd/vadd.qmr", "caches/c1")
        self.expect(["add-cache", "p.kp", "caches/"], 0)
        self.assertEqual(["c1"], json.loads(run("list", "p.kp", "--json")[1])["ipCaches"])
        self.expect(["verify", "p.kp"], 0, "digest: valid\n")
        self.expect(["extract", "p.kp", "-d", "out"], 0, "out/vadd\n")
        self.assertEqual(0, subprocess.run(["diff", "-r", "caches", "out/ip_cache"]).returncode)
        self.expect(["add-cache", "p.kp", "vadd/src"], 0, "",
                    "kp: warning: [17-2004] The directory 'vadd/src' holds no IP cache\n")
        self.expect(["add", "k.kp", "vadd/kernel.xml", "--ip", "vadd/ip", "--layout", "kernel"], 0)
        for arguments, text in ((["k.kp", "caches"], "'k.kp' has the layout 'kernel', which has no IP caches"),
                                (["gone.kp", "caches"], "The specified KP file 'gone.kp' does not exist."),
                                (["p.kp", "gone"], "The specified IP Cache directory 'gone' is not a directory.")):
            self.expect(["add-cache", *arguments], 3, "", f"kp: error: {text}\n")

    def test_kernel_edit_and_report(self):
        self.expect(["kernel", "edit", "vadd/kernel.xml", "-o", "a/b", "--compile-options=-g", "--compile-options",
                     "-O3", "--debug", "true", "--profile-type", "stall", "--report", "vadd/design.xml"], 0)
        shown = json.loads(run("kernel", "show", "a/b/kernel.xml", "--json")[1])
        self.assertEqual(("-g -O3", "true", "stall"),
                         (shown["compileOptions"], shown["debug"], shown["profileType"]))
        self.assertEqual(("a", 1, "0x10"), tuple(shown["args"][0][key] for key in ("name", "addressQualifier", "offset")))
        self.expect(["kernel", "report", "a/b/kernel.xml", "-o", "out.xml"], 0)
        self.expect(["kernel", "edit", "vadd/kernel.xml", "-o", "again", "--report", "out.xml"], 0)
        self.expect(["kernel", "report", "again/kernel.xml", "-o", "out2.xml"], 0)
        with open("out.xml") as first, open("out2.xml") as second:
            self.assertEqual(first.read(), second.read())
        self.expect(["kernel", "report", "vadd/kernel.xml", "-o", "none.xml"], 3, "",
                    "kp: error: 'vadd/kernel.xml' holds no profile; no report was written\n")
        self.assertFalse(os.path.exists("none.xml"))

    def test_errors_name_the_thing_and_change_nothing(self):
        self.add("p.kp")
        with open("bad.xml", "w") as bad:
            bad.write('<root versionMajor="1" versionMinor="10">\n<kernel name="vadd">\n<ports><port dataWidth="-1"/>')
        with open("p.kp", "rb") as package:
            before = package.read()
        below = "value '-1' is below the minimum in attribute 'dataWidth' of element 'port'"
        rows = [
            (["list", "gone.kp"], 3, "The specified KP container does not exist: 'gone.kp'"),
            (["validate", "gone.kp", "--target", "hw"], 3, "The specified KP container does not exist: 'gone.kp'"),
            (["verify", "gone.kp"], 3, "File not found: 'gone.kp'"),
            (["add", "p.kp", "vadd/kernel.xml", "--ip", "vadd/ip"], 3,
             "Kernel 'vadd' already exists inside KP container 'p.kp'"),
            (["add", "p.kp", "bad.xml", "--ip", "vadd/ip"], 3, "[17-132] bad.xml:3: " + below),
            (["kernel", "show", "bad.xml"], 3, "[17-132] bad.xml:3: " + below),
            (["add", "p.kp", self.derive("other"), "--cpu-source", "gone.cpp"], 3,
             "Specified CPU File is not a file: 'gone.cpp'"),
            (["add", "p.kp", "other.xml", "--layout", "kernel", "--ip", "vadd/ip"], 3,
             "'p.kp' has the layout 'repo'; a kernel cannot be added in the layout 'kernel'"),
        ]
        for arguments, status, text in rows:
            self.expect(arguments, status, "", f"kp: error: {text}\n")
            with open("p.kp", "rb") as package:
                self.assertEqual(before, package.read(), arguments)
        for wrong in ([], ["bogus"], ["list"], ["kernel"], ["add", "p.kp"], ["validate", "p.kp", "--target", "fpga"],
                      ["list", "p.kp", "--bogus"]):
            status, out, err = run(*wrong)
            self.assertEqual((2, ""), (status, out), wrong)
            self.assertRegex(err, r"\Akp: error: .+\n\Z")

    def test_a_mistyped_subcommand_is_named_with_what_was_meant(self):
        rows = [
            (["lst"], "lst", "did you mean 'list'?"),
            (["-q", "lsit", "p.kp", "--json"], "lsit", "did you mean 'list'?"),
            (["add-cahce"], "add-cahce", "did you mean 'add-cache'?"),
            (["kernle", "show"], "kernle", "did you mean 'kernel'?"),
            (["kernel", "shw", "k.xml"], "kernel shw", "did you mean 'kernel show'?"),
            (["bogus"], "bogus", "see kp --help"),
            (["kernel", "bogus"], "kernel bogus", "see kp kernel --help"),
        ]
        for arguments, word, advice in rows:
            self.expect(arguments, 2, "", f"kp: error: '{word}' is not a subcommand; {advice}\n")

    def test_long_work_shows_a_bar_on_a_terminal_alone(self):
        megabytes = 200
        with open("vadd/ip/large.bin", "wb") as large:
            large.write(random.Random(1).randbytes(megabytes * 1_000_000))
        plain = r" *\d+% \[#*-*\]  \d+\.\d MB/s  \d+:\d\d left"
        coloured = plain.replace("#*", "\x1b\\[32m#*\x1b\\[0m")

        self.add("p.kp")  # which sees to it that nothing comes on a pipe

        add = OnTerminal("add", "new.kp", "vadd/kernel.xml", "--ip", "vadd/ip")
        self.assertRegex(add.read(), rf"\A\r{coloured}\x1b\[K")
        with open("vadd/ip/large.bin", "ab") as large:
            large.write(b"more")
        status, out, shown = add.finish()
        self.assertEqual((3, ""), (status, out))
        self.assertRegex(shown, rf"\A(\r{coloured}\x1b\[K)+\r\x1b\[Kkp: error: 'vadd/ip/large.bin' changed while it "
                         r"was packed\r\n\Z")
        percents = [int(percent) for percent in re.findall(r"(\d+)%", shown)]
        self.assertEqual(sorted(percents), percents)
        self.assertLess(percents[-1], 100)

        rows = [(["verify", "p.kp"], {"NO_COLOR": "1"}, "digest: valid\n", rf"\A(\r{plain}\x1b\[K)+\r\x1b\[K\Z"),
                (["verify", "p.kp", "-q"], {}, "digest: valid\n", r"\A\Z"),
                (["verify", "p.kp"], {"TERM": "dumb"}, "digest: valid\n", r"\A\Z"),
                (["extract", "p.kp", "-d", "out", "--force"], {}, "out/vadd\n",
                 rf"\A((\r{coloured}\x1b\[K)+\r\x1b\[K){{2}}\Z")]
        for arguments, environment, answer, expected in rows:
            work = OnTerminal(*arguments, KP_PROGRESS_DELAY="0", **environment)
            status, out, shown = work.finish()
            self.assertEqual((0, answer), (status, out))
            self.assertRegex(shown, expected, arguments)

    def test_update_needs_no_description_and_quiet_is_quiet(self):
        self.add("p.kp")
        self.expect(["-q", "add", "p.kp", "--update", "--name", "VADD", "--pdi", "vadd/vadd.qmr", "--shim",
                     "vadd/vadd.qmr"], 0)
        self.expect(["list", "p.kp"], 0, "vadd  hw_emu,hw  rtl,pdi,shim\n")
        self.expect(["add", "p.kp", "vadd/kernel.xml", "--ip", "vadd/ip", "--update", "--replace", "-q"], 0)
        self.expect(["list", "p.kp"], 0, "vadd  hw_emu,hw  rtl\n")
        self.expect(["verify", "p.kp"], 0, "digest: valid\n")

    def test_help_has_an_example_for_every_command(self):
        for words in (["add"], ["list"], ["validate"], ["verify"], ["info"], ["files"], ["extract"], ["cat"],
                      ["add-cache"], ["kernel", "show"], ["kernel", "edit"], ["kernel", "report"]):
            status, out, _ = run(*words, "--help")
            self.assertEqual(0, status)
            self.assertIn("Example:\n  kp " + " ".join(words), out)

    def test_eight_processes_that_add_ten_kernels_each_leave_eighty(self):
        for number in range(80):
            self.derive(f"k{number}")
        script = 'for i in 0 1 2 3 4 5 6 7 8 9; do "$KP" add p.kp k$1$i.xml --ip vadd/ip || exit 1; done'
        writers = [subprocess.Popen(["sh", "-c", script.replace("$1", "" if tens == 0 else str(tens))])
                   for tens in range(8)]
        while any(writer.poll() is None for writer in writers):
            if os.path.exists("p.kp"):
                self.assertEqual((0, ""), run("validate", "p.kp", "--target", "hw")[::2])
        self.assertEqual([0] * 8, [writer.returncode for writer in writers])
        self.assertEqual(80, len(run("list", "p.kp")[1].splitlines()))
        self.expect(["verify", "p.kp"], 0, "digest: valid\n")
        self.assertEqual([], [name for name in os.listdir(".") if ".kp-" in name])

    def test_a_killed_addition_leaves_the_old_or_the_new_package(self):
        self.add("p.kp")
        shutil.copy("p.kp", "old.kp")
        xml = self.derive("second")
        with open("vadd/ip/large.bin", "wb") as large:
            large.write(random.Random(7).randbytes(3_000_000))
        begin = time.monotonic()
        self.expect(["add", "p.kp", xml, "--ip", "vadd/ip"], 0)
        duration = time.monotonic() - begin
        outcomes = set()
        moments = random.Random(11)
        for _ in range(40):
            shutil.copy("old.kp", "p.kp")
            process = subprocess.Popen([KP, "add", "p.kp", xml, "--ip", "vadd/ip"])
            time.sleep(moments.uniform(0, duration * 1.2))
            process.send_signal(signal.SIGKILL)
            process.wait()
            lines = len(run("list", "p.kp")[1].splitlines())
            self.assertIn(lines, (1, 2))
            self.expect(["verify", "p.kp"], 0, "digest: valid\n")
            outcomes.add(lines)
        self.assertEqual({1, 2}, outcomes)
        shutil.copy("old.kp", "p.kp")
        self.expect(["add", "p.kp", xml, "--ip", "vadd/ip"], 0)
        self.assertEqual([], [name for name in os.listdir(".") if ".kp-" in name])


if __name__ == "__main__":
    unittest.main()
