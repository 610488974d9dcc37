"""The command kp as a user meets it: answers, exit statuses, errors, and what survives crowds and kills."""

import json
import os
import random
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

    def test_update_needs_no_description_and_quiet_is_quiet(self):
        self.add("p.kp")
        self.expect(["-q", "add", "p.kp", "--update", "--name", "VADD", "--pdi", "vadd/vadd.qmr", "--shim",
                     "vadd/vadd.qmr"], 0)
        self.expect(["list", "p.kp"], 0, "vadd  hw_emu,hw  rtl,pdi,shim\n")
        self.expect(["add", "p.kp", "vadd/kernel.xml", "--ip", "vadd/ip", "--update", "--replace", "-q"], 0)
        self.expect(["list", "p.kp"], 0, "vadd  hw_emu,hw  rtl\n")
        self.expect(["verify", "p.kp"], 0, "digest: valid\n")

    def test_help_has_an_example_for_every_command(self):
        for words in (["add"], ["list"], ["validate"], ["verify"], ["info"], ["files"], ["kernel", "show"], ["kernel", "edit"],
                      ["kernel", "report"]):
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
