"""The command kp as a user meets it: answers, exit statuses, errors."""

import io
import json
import os
import random
import shutil
import subprocess
import tempfile
import xml.etree.ElementTree as ElementTree
import zipfile
from pathlib import Path

from kp_case import EXAMPLES, KP, KpCase, run

IS_ROOT = os.geteuid() == 0
UNSEALED = ("kp: error: The digest of '{}' does not hold: the package was changed since it was sealed; 'kp verify' tells more, "
            "and --reseal goes on and seals the package anew\n")


class KpTest(KpCase):
    def expect_same(self, first, second):
        """Two files or directories that hold the same."""
        self.assertEqual(0, subprocess.run(["diff", "-r", first, second]).returncode)

    def expect_json(self, arguments, answer, status=0):
        done = run(*arguments, "--json")
        self.assertEqual((status, answer, ""), (done[0], json.loads(done[1]), done[2]), arguments)

    def test_list_and_validate(self):
        self.add("p.kp", "--cpu-source", "vadd/src/vadd.cpp", "--project", "lab 7")
        vadd = {"name": "vadd", "directory": "vadd", "ip": "ip_repo/example_kernels_vadd_1_0", "topIpDir": ".",
                "projectId": "lab 7", "flows": ["sw_emu", "hw_emu", "hw"], "rtl": True, "debug": False,
                "debugDir": False, "hlsDir": False, "pdiDir": False, "shimSolnDir": False, "swEmuDir": False}
        self.expect_json(["list", "p.kp"], {"formatVersion": "6.0", "softwareVersion": "2020.1", "ipCaches": [],
                                            "kernels": [vadd]})
        self.expect(["add", "p.kp", self.derive("vadd_hw"), "--ip", "vadd/ip", "--pdi", "vadd/vadd.qmr", "--no-lint"], 0)
        self.expect(["list", "p.kp"], 0, "vadd     sw_emu,hw_emu,hw  rtl\nvadd_hw  hw_emu,hw         rtl,pdi\n")
        self.expect(["validate", "p.kp", "--target", "hw"], 0, "vadd\nvadd_hw\n")
        refusal = "The RTL kernel 'vadd_hw' in 'p.kp' is not supported for CPU emulation target"
        self.expect(["validate", "p.kp", "--target=sw_emu"], 1, "", f"kp: error: {refusal}\n")
        self.expect_json(["validate", "p.kp", "--target", "sw_emu"],
                         {"target": "sw_emu", "valid": False, "kernels": ["vadd"], "reason": refusal}, 1)
        self.add("p.kp", "--replace")
        self.expect(["list", "p.kp"], 0, "vadd_hw  hw_emu,hw  rtl,pdi\nvadd     hw_emu,hw  rtl\n")
        missing = "kp: warning: [17-1867] The kernel to update is not in the package; it is added\n"
        self.expect(["add", "n.kp", "vadd/kernel.xml", "--ip", "vadd/ip", "--replace"], 0, "", missing)
        bare = "kp: warning: [17-1868] Neither a device image nor a shim solution is given to update the kernel\n"
        for package in "n.kp", "new.kp":
            self.expect(["add", package, "--update", self.derive("other"), "--ip", "vadd/ip", "--no-lint"], 0, "", bare + missing)
        parts = [word for part in ("--pdi", "--shim", "--sw-emu", "--cpu-source") for word in (part, "vadd/vadd.qmr")]
        self.expect(["add", *parts, "all.kp", "vadd/kernel.xml", "--ip=vadd/ip", "--debug-dir=vadd/src", "--hls-dir=vadd/src", "-q"], 0)
        c = self.change("vadd/kernel.xml", ('"vadd"', '"c"'), ('"ip"', '"c"'), into="c.xml")
        self.expect(["add", "all.kp", c, "--cpu-source", "vadd/src/vadd.cpp", "--no-lint"], 0)
        self.expect(["list", "all.kp"], 0, "vadd  sw_emu,hw_emu,hw  rtl,debug-dir,hls-dir,pdi,shim,sw-emu\nc     sw_emu            -\n")

    def test_update_needs_no_description_and_verify_finds_changes(self):
        self.add("p.kp", "--debug-dir", "vadd/src", "-q")
        self.expect(["-q", "add", "p.kp", "--update", "--name", "VADD", "--pdi", "vadd/vadd.qmr"], 0)
        self.expect(["list", "p.kp"], 0, "vadd  hw_emu,hw  rtl,debug-dir,pdi\n")
        self.expect(["add", "p.kp", "vadd/kernel.xml", "--update", "--pdi", "vadd/vadd.qmr", "--ip", "vadd/ip"], 3, "",
                    "kp: error: Kernel 'vadd' is in 'p.kp', and --update brings it --pdi and --shim alone; with --ip, "
                    "replace it (--replace)\n")
        self.expect(["verify", "p.kp"], 0, "digest: valid\n")
        subprocess.run(["zip", "-qd", "p.kp", "vadd/debug/*"], check=True, stdout=subprocess.DEVNULL)
        text = "Kernel 'vadd': its flag 'Debug' is set, but 'vadd/debug' is not in the package"
        self.expect(["verify", "p.kp"], 1, f"digest: mismatch\nflag-without-folder: {text}\n")
        Path("p.kp").write_bytes(b"PK")
        text = "'p.kp' is not a readable archive: it has no end of directory record"
        self.expect_json(["verify", "p.kp"], {"digest": "unreadable", "findings": [
            {"code": "unreadable", "member": "", "text": text}]}, 1)

    def test_nothing_of_others_is_replaced_or_sealed_unasked(self):
        self.add("p.kp", "--layout", "kernel")
        self.expect(["add", "p.kp", self.derive("other"), "--ip", "vadd/ip", "-q"], 0)
        self.assertIn("other  ip           other/ip\n", run("files", "p.kp", "other")[1])
        Path("p.kp").unlink()
        self.add("p.kp")
        same = self.derive("same", vlnv="vadd")
        self.expect(["add", "p.kp", same, "--ip", "vadd/ip"], 0)
        shutil.copytree("vadd/ip", "ip")
        Path("ip/hdl/vadd.v").write_text("module vadd; endmodule")
        third = ["add", "p.kp", self.derive("third", vlnv="vadd"), "--ip", "ip", "--no-lint"]
        self.expect(third, 3, "", "kp: error: The IP of kernel 'third' differs from the one in "
                    "'ip_repo/example_kernels_vadd_1_0' of KP container 'p.kp', the IP of kernels 'vadd', 'same'; "
                    "give each IP a VLNV of its own, or replace it with --replace-ip\n")
        subprocess.run(["zip", "-q", "p.kp", "vadd/kernel.xml"], check=True)
        self.expect([*third, "--replace-ip"], 3, "", UNSEALED.format("p.kp"))
        self.expect(["add-cache", "p.kp", "vadd"], 3, "", UNSEALED.format("p.kp"))
        self.expect([*third, "--replace-ip", "--reseal", "-q"], 0)
        self.expect(["verify", "p.kp"], 0, "digest: valid\n")

    def test_of_many_messages_of_one_number_ten_are_shown(self):
        self.add("p.kp")
        flows = b"HW_EMU</SupportedFlow>" + b"<SupportedFlow>NO_FLOW</SupportedFlow>" * 1000 + b"<SupportedFlow>SYSTEM"
        Path(self.rewrite("p.kp", {"kp.xml": lambda data: data.replace(b"HW_EMU", flows)})).rename("many.kp")
        shown = "kp: warning: [17-1312] Unknown flow number 0 in the manifest of 'many.kp' is ignored\n" * 10
        rest = "kp: warning: [17-1312] ... and 990 more of the kind about 'many.kp'\n"
        self.expect(["list", "many.kp"], 0, "vadd  hw_emu,hw,hw  rtl\n", shown + rest)
        self.expect(["files", "many.kp", "x"], 3, "", shown + rest +
                    "kp: error: Kernel 'x' was not found inside KP container 'many.kp'\n")
        self.expect(["-q", "list", "many.kp"], 0, "vadd  hw_emu,hw,hw  rtl\n")

    def test_diff(self):
        self.add("a.kp", "--report", "vadd/design.xml")
        self.expect(["diff", "a.kp", "a.kp"], 0, "verdict: same\n")
        self.change("vadd/kernel.xml", ('0x1000" dataWidth="32"', '0x1000" dataWidth="64"'))
        self.add("wider.kp", "--report", "vadd/design.xml", "--no-lint")
        wider = "vadd: compatible: port 's_control': dataWidth 32 -> 64\n"
        self.expect(["diff", "a.kp", "wider.kp"], 1, wider + "verdict: minor\n")
        self.expect(["diff", "a.kp", "wider.kp", "--breaking"], 0, "verdict: minor\n")
        self.change("vadd/kernel.xml", ('offset="0x34"', 'offset="0x38"'))
        self.change("vadd/design.xml", ("<LUT>655", "<LUT>1310"))
        odd = "\x7f\n" + "x" * 200
        self.add("b.kp", "--report", "vadd/design.xml", "--project", odd, "--no-lint")
        with zipfile.ZipFile("b.kp", "a") as package:
            package.writestr("new\x1b", "")
        note = "The digest of 'b.kp' does not hold: the package was changed since it was sealed"
        moved, figure = "argument 'length'", "report: module 'vadd'"
        self.expect(["diff", "a.kp", "b.kp"], 1,
                    f"vadd: inside: ProjectID '' -> '\\x7f\\x0a{'x' * 198}...'\n" + wider +
                    f"vadd: breaking: {moved}: offset 0x34 -> 0x38\n"
                    f"vadd: inside: {figure}: LUT 655 -> 1310 (+100%)\n"
                    f"package: inside: file 'new\\x1b' added\nnote: {note}\nverdict: major\n")
        offset = {"kernel": "vadd", "kind": "breaking", "change": "changed", "path": moved, "field": "offset",
                  "old": 52, "new": 56}
        answer = {"verdict": "major", "oldDigest": "valid", "newDigest": "mismatch", "differences": [offset],
                  "notes": [note]}
        self.expect_json(["diff", "a.kp", "b.kp", "VADD", "--breaking"], answer, 1)
        differences = json.loads(run("diff", "a.kp", "b.kp", "--json")[1])["differences"]
        self.assertEqual([odd, None, 1310, 100.0, "new\x1b"], [
            differences[0]["new"], differences[-1]["old"], differences[3]["new"], differences[3]["percent"], differences[-1]["new"]])
        self.expect(["diff", "a.kp", "b.kp", "x"], 3, "", "kp: error: Kernel 'x' was not found inside KP container "
                    "'a.kp', nor inside 'b.kp'\n")
        self.expect(["diff", "a.kp", "none"], 3, "", "kp: error: File not found: 'none'\n")
        with zipfile.ZipFile("a.kp") as package, zipfile.ZipFile("stored.kp", "w") as stored:
            for name in sorted(package.namelist()):
                stored.writestr(name, package.read(name))
        self.expect(["diff", "a.kp", "stored.kp"], 0, "note: The digest of 'stored.kp' is missing\nverdict: same\n")

    def test_info_and_files(self):
        self.add("p.kp", "--shim", "vadd/vadd.qmr", "--hls-dir", "vadd/src", "-q")
        odd, shown = "v\x1b\nPdiFile: forged.cpp", "v\\x1b\\x0aPdiFile: forged.cpp"
        Path(odd).touch()
        self.expect(["add", "p.kp", self.derive("other"), "--cpu-source", odd], 0)
        self.expect(["files", "p.kp"], 0,
                    "vadd   root         vadd\n"
                    "vadd   description  vadd/kernel.xml\n"
                    "vadd   shim         vadd/shim_soln/vadd.qmr\n"
                    "vadd   hls          vadd/hls\n"
                    "vadd   ip           ip_repo/example_kernels_vadd_1_0\n"
                    "other  root         other\n"
                    "other  description  other/kernel.xml\n"
                    f"other  cpu-source   other/cpu_sources/{shown}\n")
        self.expect_json(["files", "p.kp", "OTHER"], {"kernels": [
            {"name": "other", "root": "other", "description": "other/kernel.xml",
             "cpuSources": ["other/cpu_sources/" + odd], "swEmuFiles": [], "pdiFiles": []}]})
        report = run("info", "p.kp")[1]
        self.assertEqual(2, report.count("=== Kernel Definition ==="))
        self.assertIn("\nShimSolnFile: vadd/shim_soln/vadd.qmr\n", report)
        self.assertIn(f"\nsourceFile: other/cpu_sources/{shown}\n", report)

    def test_no_command_shows_a_control_character_raw(self):
        name = "v\u009b2J"
        description = self.derive(name)
        add = ["add", "p.kp", description, "--ip", "vadd/ip", "--no-lint"]
        self.expect(add, 0)
        self.expect([*add, "--replace", "--debug-dir", "vadd/src", "-q"], 0)
        shutil.copy("p.kp", "less.kp")
        subprocess.run(["zip", "-qd", "less.kp", "*/debug/*"], check=True, stdout=subprocess.DEVNULL)
        for status, *arguments in ((0, *add, "--replace", "--dry-run"), (0, "list", "p.kp"), (0, "info", "p.kp"), (0, "files", "p.kp"),
                                   (0, "validate", "p.kp", "--target=hw"), (1, "validate", "p.kp", "--target=sw_emu"),
                                   (0, "extract", "p.kp", "-d", "out"), (3, "extract", "p.kp", "-d", "out"), (1, "verify", "less.kp"),
                                   (0, "kernel", "show", description), (3, "kernel", "report", description, "-o", "r"), (3, *add),
                                   (3, "cat", "p.kp", name), (3, "list", name), (2, name), (2, "list", "--" + name), (2, *add, "--layout", name),
                                   (3, "customize", "p.kp", name, "--name", name, "-o", "./p.kp")):
            done = run(*arguments)
            self.assertEqual((status, False, True), (done[0], "\u009b" in done[1] + done[2], "\\xc2\\x9b" in done[1] + done[2]),
                             (arguments, done))

    def test_extract(self):
        self.add("p.kp", "--cpu-source", "vadd/src/vadd.cpp", "--debug-dir", "vadd/src", "-q")
        self.expect(["add", "p.kp", self.derive("big"), "--ip", "vadd/ip", "--no-lint"], 0)
        self.expect(["extract", "p.kp", "VADD", "-d", "out/deep"], 0, "out/deep/vadd\n")
        Path("out/deep/vadd/kernel.xml").write_text("mine")
        self.expect(["extract", "p.kp", "-d", "out/deep"], 3, "",
                    "kp: error: 'out/deep/vadd' exists already; --force replaces its files\n")
        shared = Path("out/deep/ip_repo/example_kernels_vadd_1_0/component.xml")
        packed = shared.read_bytes()
        for other in packed + b" ", packed[:-1] + b" ":
            shared.write_bytes(other)
            self.expect(["extract", "p.kp", "big", "-d", "out/deep"], 3, "", f"kp: error: '{shared}' exists already "
                        "and is not what the package holds; --force replaces its files\n")
        shared.write_bytes(packed)
        shutil.copy("p.kp", "hostile.kp")
        with zipfile.ZipFile("hostile.kp", "a") as package:
            package.writestr("ip_repo/../vadd/kernel.xml", "other")
        self.expect(["-q", "extract", "hostile.kp", "big", "-d", "out/deep"], 3, "", "kp: error: Failed to extract "
                    "'ip_repo/../vadd/kernel.xml' of the archive 'hostile.kp': it contains '..'\n")
        self.expect_json(["extract", "p.kp", "big", "-d", "out/deep"],
                         {"kernels": [{"name": "big", "root": "out/deep/big", "ipDir": "out/deep/ip_repo"}]})
        self.assertEqual("mine", Path("out/deep/vadd/kernel.xml").read_text())
        self.expect(["extract", "p.kp", "big", "-d", "own", "--own-ip"], 0, "own/big\n")
        self.assertEqual(["example_kernels_big_1_0"], os.listdir("own/ip_repo"))
        os.makedirs("own/ip_repo/example_kernels_vadd_1_0")
        for ip, status, out, error in (
                ("vadd", 0, "own/big\n", ""),
                ("big", 3, "", "kp: error: 'own/ip_repo/example_kernels_big_1_0/component.xml' exists already and is not what "
                 "the package holds; --force replaces its files\n")):
            shutil.rmtree("own/big")
            Path(f"own/ip_repo/example_kernels_{ip}_1_0/component.xml").write_text("another")
            self.expect(["extract", "p.kp", "big", "-d", "own", "--own-ip"], status, out, error)
        self.expect(["extract", "p.kp", "-d", "own", "--own-ip"], 2, "", "kp: error: --own-ip requires KERNEL\n")
        self.expect(["extract", "p.kp", "-d", "out/deep", "--force"], 0, "out/deep/vadd\nout/deep/big\n")
        subprocess.run(["unzip", "-q", "p.kp", "-x", "kp.xml", "-d", "by_unzip"], check=True)
        self.expect_same("by_unzip", "out/deep")
        self.expect_same("vadd/ip", "out/deep/ip_repo/example_kernels_vadd_1_0")
        moved = self.rewrite("p.kp", {"kp.xml": lambda data: data.replace(b'Dir="vadd"', b'Dir="k"')})
        with zipfile.ZipFile(moved, "a") as package:
            package.writestr("k/kernel.xml", "<r")
        self.expect(["-q", "extract", moved, "-d", "m", "--json"], 3, "", "kp: error: Kernel 'vadd' was extracted, but "
                    "its description in 'm' cannot be read: Failed to parse RTL kernel file. Exception: [17-132] "
                    "m/k/kernel.xml:1: unclosed token\n")
        Path("parameters").write_text("kp.enableVersionCheck = true\n")
        for more, parameters, ended in (["--check-version"], "", 3), ([], "parameters", 3), ([], "", 0):
            environment = dict(KP_SOFTWARE_VERSION="2019.4", KP_PARAM_FILE=parameters)
            status, _, err = run("extract", "p.kp", "-d", "n", *more, **environment)
            self.assertEqual((ended, ended == 0), (status, os.path.exists("n")))
            self.assertEqual(ended == 3, "was created in version 2020.1, which is later than" in err)

    def test_other_tools_read_what_cat_shows(self):
        Path("vadd/ip/every.bin").write_bytes(bytes(range(256)) * 70_000)
        self.add("p.kp", "--report", "vadd/design.xml", "--ip-instance", "vadd/vadd.qmr")
        for command in (["unzip", "-tqq", "p.kp"], ["7zz", "t", "p.kp"], ["bsdtar", "-tf", "p.kp"]):
            self.assertEqual(0, subprocess.run(command, capture_output=True).returncode, command)
        with zipfile.ZipFile("p.kp") as package:
            self.assertEqual("kp.xml", package.namelist()[-1])
            for member in package.namelist():
                shown = subprocess.run([KP, "cat", "p.kp", member], capture_output=True)
                self.assertEqual((0, b"", package.read(member)), (shown.returncode, shown.stderr, shown.stdout), member)
        self.expect(["cat", "p.kp", "vadd"], 3, "", "kp: error: 'p.kp' holds no file 'vadd'\n")

    def pack_all(self, parent, user, umask, backwards, relative, **environment):
        """Packages that a user makes of the same files, whose directories were filled in one order or the other."""
        top = Path(tempfile.mkdtemp(dir=parent))
        self.addCleanup(shutil.rmtree, top)
        for path in sorted(Path("vadd").rglob("*.*"), reverse=backwards):
            (top / path).parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(path, top / path)
        for path in [top, *top.rglob("*")]:
            os.utime(path, (0, random.randrange(1 << 30)))
            path.chmod((0o777 if path.is_dir() or path.suffix == ".sh" else 0o666) & ~umask)
            if IS_ROOT:
                os.chown(path, user, user)
        identity = dict(user=user, group=user, extra_groups=[]) if IS_ROOT else {}
        at = "" if relative else f"{top}/"
        for command in (["add", at + "p.kp", at + "vadd/kernel.xml", "--ip", at + "vadd/ip",
                         "--report", at + "vadd/design.xml", "--debug-dir", at + "vadd/src"],
                        ["add-cache", at + "p.kp", at + "vadd/caches"],
                        ["customize", at + "p.kp", "vadd", "--name", "wide", "-o", f"{top}/out.kp",
                         "--param", "SUM_FIFO_DEPTH=64", "--host-script", EXAMPLES + "/host/host.tcl"]):
            subprocess.run([KP, "-q", *command], check=True, cwd=top, umask=umask, **identity,
                           env={**os.environ, "SOURCE_DATE_EPOCH": "1600000000", **environment})
        return [(top / name).read_bytes() for name in ("p.kp", "out.kp")]

    def test_the_same_files_give_the_same_bytes_whoever_packs_them_and_where(self):
        for name in ("a", "B", "b", "_c", "ä", *map(str, range(30))):
            Path("vadd/ip", name + ".sh").write_text(name)
        for name in ("c1", "C2", "c3"):
            os.makedirs("vadd/caches/" + name)
            shutil.copy("vadd/vadd.qmr", "vadd/caches/" + name)
        locales = subprocess.run(["locale", "-a"], capture_output=True, text=True).stdout.split()
        reachable = IS_ROOT and subprocess.run(["test", "-x", KP, "-a", "-r", EXAMPLES], user=65534).returncode == 0
        once = self.pack_all(None, 0, 0o022, False, True, LC_ALL="C", TZ="UTC")
        elsewhere = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
        again = self.pack_all(elsewhere, 65534 if reachable else 0, 0o077, True, False, HOME="/none", TZ="Asia/Tokyo",
                              LC_ALL=max(locales, key=lambda name: "_" in name))
        self.assertTrue(once == again)
        modes = {info.external_attr >> 16 for info in zipfile.ZipFile(io.BytesIO(once[0])).infolist()}
        self.assertEqual({0o100644, 0o100755}, modes)

    def test_cores_make_no_difference_and_small_work_takes_one(self):
        rng = random.Random(1)
        for number in range(60):
            part = "ab"[number % 2]
            Path("vadd/src", part).mkdir(exist_ok=True)
            Path("vadd/src", part, str(number)).write_bytes(rng.randbytes(6_000) * rng.randrange(9) + bytes(9_000))

        def threads(*arguments):
            subprocess.run(["strace", "-f", "-qq", "-o", "calls", "-e", "trace=clone,clone3", KP, "-q", *arguments],
                           check=True, stdout=subprocess.DEVNULL)
            return Path("calls").read_text().count("CLONE_THREAD")

        large = ["--debug-dir", "vadd/src"]
        for jobs in "1", "2", "3", "8":
            self.expect(["-qj", jobs, "add", jobs, "vadd/kernel.xml", "--ip", "vadd/ip", *large], 0, SOURCE_DATE_EPOCH="1600000000")
            self.expect_same("1", jobs)
            self.expect(["verify", jobs, "--jobs=" + jobs], 0, "digest: valid\n")
            if not os.environ["KP_SANITIZE"]:  # whose own threads would count
                self.assertEqual(0, threads("-j", jobs, "add", "small" + jobs, "vadd/kernel.xml", "--ip", "vadd/ip"))
                counts = [threads("-j", jobs, *operation) for operation in (
                    ["add", "large" + jobs, "vadd/kernel.xml", "--ip", "vadd/ip", *large], ["verify", "1"],
                    ["extract", "1", "-d", "y" + jobs])]
                self.assertTrue(all(bool(count) == (jobs != "1") and count < int(jobs) for count in counts), counts)
        for wrong in "0", "1025", "x":
            self.expect(["-j", wrong, "list", "1"], 2, "", f"kp: error: --jobs: Value {wrong} not in range 1 to 1024\n")

    def test_add_cache(self):
        self.add("p.kp")
        os.makedirs("caches/c1")
        shutil.copy("vadd/vadd.qmr", "caches/c1")
        self.expect(["add-cache", "p.kp", "caches/"], 0)
        places = {"name": "vadd", "root": "out/vadd", "ipDir": "out/ip_repo", "ipCacheDir": "out/ip_cache"}
        self.expect_json(["extract", "p.kp", "-d", "out"], {"kernels": [places]})
        self.expect_same("caches", "out/ip_cache")
        self.expect_json(["files", "p.kp"], {"kernels": [{
            "name": "vadd", "root": "vadd", "description": "vadd/kernel.xml", "cpuSources": [], "swEmuFiles": [], "pdiFiles": [],
            "ipDir": "ip_repo/example_kernels_vadd_1_0", "ipCacheDir": "ip_cache"}]})
        self.expect(["add-cache", "p.kp", "vadd/src"], 0, "",
                    "kp: warning: [17-2004] The directory 'vadd/src' holds no IP cache\n")
        self.add("k.kp", "--layout", "kernel")
        for kernel in [], ["vadd"]:
            self.expect_json(["extract", "k.kp", *kernel, "-d", "k", "--force"],
                             {"kernels": [{"name": "vadd", "root": "k/vadd", "ipDir": "k/vadd/ip"}]})
        self.expect(["add-cache", "k.kp", "caches"], 3, "",
                    "kp: error: 'k.kp' has the layout 'kernel', which has no IP caches\n")

    def state(self):
        found = {name: os.stat(name) for name in [".", *os.listdir(".")]}
        return {name: (file.st_ino, file.st_size, file.st_mtime_ns, file.st_ctime_ns) for name, file in found.items()}

    def expect_planned(self, *arguments):
        """That a dry run changes nothing and tells what then is done to p.kp: the plan, and the lines before its files."""
        def members():
            return {info.filename: info.CRC for info in zipfile.ZipFile("p.kp").infolist()} if os.path.exists("p.kp") else {}

        before, untouched = members(), self.state()
        (status, out, err), lines = run(*arguments, "--dry-run", "--json"), run(*arguments, "--dry-run")[1].splitlines()
        self.assertEqual((0, untouched), (status, self.state()))
        self.assertEqual((0, "", err), run(*arguments))
        after, plan = members(), json.loads(out)
        changes = {"+": sorted(after.keys() - before.keys()), "-": sorted(before.keys() - after.keys()),
                   "~": sorted(name for name in before if after.get(name, before[name]) != before[name])}
        self.assertEqual([changes[mark] for mark in "+~-"], [plan[key] for key in ("added", "replaced", "removed")])
        told = [mark + " " + name for mark in "+~-" for name in changes[mark]]
        self.assertEqual(told, lines[-len(told):])
        return plan, lines[:-len(told)]

    def test_a_dry_run_tells_what_the_addition_does_and_changes_nothing(self):
        os.makedirs("less/empty")
        shutil.copy("vadd/ip/component.xml", "less")
        other, third = self.derive("other"), self.derive("third")
        for step in (["vadd/kernel.xml", "--ip", "vadd/ip", "--debug-dir", "vadd/src", "--layout", "repo"],
                     [other, "--ip", "vadd/ip", "--cpu-source", "vadd/src/vadd.cpp"],
                     ["--name", "VADD", "--update", "--pdi", "vadd/vadd.qmr", "--shim", "vadd/vadd.qmr"],
                     ["vadd/kernel.xml", "--ip", "less", "--replace", "--sw-emu", "vadd/vadd.qmr", "--pdi", "vadd/vadd.qmr"]):
            plan, lines = self.expect_planned("add", "p.kp", *step)
            self.assertIn(plan["kernel"], json.loads(run("list", "p.kp", "--json")[1])["kernels"])
            self.assertEqual([plan["kernel"]["name"]], [line.split()[0] for line in lines])
        self.assertIn("ip_repo/example_kernels_vadd_1_0/empty/", plan["added"])

        damaged = bytearray(Path("p.kp").read_bytes())
        damaged[damaged.index(b"component.xml")] ^= 1  # in the member's own header
        Path("damaged.kp").write_bytes(damaged)
        for arguments in (["p.kp", "vadd/kernel.xml", "--ip", "vadd/ip"], ["p.kp", "none.xml", "--ip", "vadd/ip"],
                          ["n.kp", other, "--cpu-source", "none.cpp"], ["none/p.kp", other, "--ip", "vadd/ip"],
                          ["vadd", other, "--ip", "vadd/ip"], ["n.kp", other], ["damaged.kp", third, "--ip", "vadd/ip"],
                          ["p.kp", other, "--ip", "vadd/ip", "--replace", "--layout", "kernel"]):
            real, untouched = run("add", *arguments), self.state()
            self.assertEqual((3, real, untouched), (real[0], run("add", *arguments, "--dry-run"), self.state()), arguments)
        self.expect(["add", "p.kp", other, "--json"], 2, "", "kp: error: --json requires --dry-run\n")

    def test_remove_and_merge_do_what_a_dry_run_tells(self):
        for name in "cab":
            self.expect(["add", name + ".kp", self.derive(name), "--ip", "vadd/ip", "--no-lint"], 0)
        for arguments, named, left in ((["merge", "--output=p.kp", "c.kp", "a.kp", "b.kp", "--sort"], "abc", "abc"),
                                       (["remove", "p.kp", "B", "a"], "ba", "c"), (["remove", "p.kp", "c"], "c", "")):
            plan, lines = self.expect_planned(*arguments)
            self.assertEqual([*named], [kernel["name"] for kernel in plan["kernels"]])
            self.assertEqual([f"{name}  hw_emu,hw  rtl" for name in named], lines)
            self.expect(["list", "p.kp"], 0, "".join(f"{name}  hw_emu,hw  rtl\n" for name in left))
            self.expect(["verify", "p.kp"], 0, "digest: valid\n")
        self.assertEqual(["kp.xml"], zipfile.ZipFile("p.kp").namelist())

        merge, refused = ["merge", "-o", "m.kp", "a.kp", "b.kp"], "kp: error: 'm.kp' is there already; a merge replaces no file\n"
        subprocess.run(["zip", "-q", "b.kp", "vadd/design.xml"], check=True)
        left = "kp: warning: [17-1396] The integrity of the package 'b.kp' could not be verified\n" \
            "kp: warning: [17-2011] 'vadd/design.xml' in 'b.kp' belongs to no kernel and is left out\n"
        for arguments in merge, ["remove", "b.kp", "b"]:
            self.expect(arguments, 3, "", UNSEALED.format("b.kp"))
        self.expect([*merge, "--reseal"], 0, "", left)
        for arguments in merge, [*merge, "--dry-run"]:
            self.expect(arguments, 3, "", refused)
        self.expect(["verify", "m.kp"], 0, "digest: valid\n")
        self.expect(["-q", "remove", "b.kp", "b", "--reseal"], 0)
        self.expect(["verify", "b.kp"], 0, "digest: valid\n")
        broken = self.rewrite("m.kp", {"b/kernel.xml": lambda data: data[:99]})
        self.expect(["-q", "remove", broken, "b", "--reseal"], 0)
        self.expect(["verify", broken], 0, "digest: valid\n")
        self.expect(["list", broken], 0, "a  hw_emu,hw  rtl\n")
        self.expect(["remove", "m.kp", "a", "bb"], 3, "", "kp: error: Kernel 'bb' was not found inside KP container 'm.kp'; "
                    "did you mean 'b'?\n")
        self.expect(["merge", "-o", "n.kp", "m.kp", "--check-version"], 3, "", "kp: error: The KP file 'm.kp' was created in version "
                    "2020.1, which is later than the software version you are currently running: 2019.9. "
                    "Forward compatibility is not supported\n", KP_SOFTWARE_VERSION="2019.9")

    def test_a_build_of_many_kernels_at_once_gives_the_same_bytes_every_time(self):
        """The makefile of the handbook, with other orders and numbers of processes."""
        section = Path(os.environ["KP_HANDBOOK"]).read_text().split("\n## In a build\n")[1]
        makefile = "".join(line[4:] + "\n" for line in section.split("\n## ")[0].splitlines() if line.startswith("    ") or not line)
        names, built = [f"k{number}" for number in range(20)], []
        for jobs, kernels in (("-j8", names), ("-j1", names[::-1]), ("-j3", names[7:] + names[:7])):
            os.makedirs(jobs)
            Path(jobs, "Makefile").write_text(makefile.split("kp diff")[0])
            for name in names:
                os.makedirs(f"{jobs}/{name}")
                shutil.copytree("vadd/ip", f"{jobs}/{name}/ip")
                os.rename(self.derive(f"{jobs}/{name}"), f"{jobs}/{name}/kernel.xml")
            made = subprocess.run(["make", "-s", jobs, "KERNELS=" + " ".join(kernels), "SOURCE_DATE_EPOCH=1600000000"], cwd=jobs,
                                  capture_output=True, text=True, env={**os.environ, "PATH": f"{Path(KP).parent}:{os.environ['PATH']}"})
            self.assertEqual((0, ""), (made.returncode, made.stdout), made.stderr)
            built.append(Path(jobs, "all.kp").read_bytes())
        self.assertEqual([True] * 3, [package == built[0] for package in built])
        self.expect(["verify", "./-j8/all.kp"], 0, "digest: valid\n")
        self.assertEqual(sorted(names), [line.split()[0] for line in run("list", "./-j8/all.kp")[1].splitlines()])

    def test_kernel_show_edit_and_report(self):
        document = ElementTree.parse("vadd/kernel.xml")
        kernel = document.find("kernel")
        kernel.set("hash", "h")
        kernel.find("args/arg").attrib |= dict(memSize="m", origName="n", origUse="u")
        document.write("k.xml")
        self.expect(["kernel", "edit", "--compile-options=-g", "--compile-options", "-O3", "k.xml", "-o", "a/b", "--debug", "true",
                     "--profile-type", "stall", "--report", "vadd/design.xml"], 0)
        kernel.attrib |= dict(compileOptions="-g -O3", debug="true", profileType="stall")
        shown = json.loads(run("kernel", "show", "a/b/kernel.xml", "--json")[1])

        def values(desc, indent):
            return [f"{indent}{key}: {value if isinstance(value, str) else json.dumps(value)}" for key, value in desc.items()
                    if value != "" and not isinstance(value, list)]

        lines = [line for title, key in (("argument", "args"), ("port", "ports")) for each in shown[key] for line in (title, *values(each, "  "))]
        self.expect(["kernel", "show", "a/b/kernel.xml"], 0, "\n".join([*values(shown, ""), *lines, ""]))
        for one, given in zip([*kernel.findall("args/arg"), *kernel.findall("ports/port")],
                              shown.pop("args") + shown.pop("ports"), strict=True):
            self.assertEqual(one.attrib, {name: str(value) for name, value in given.items() if value != ""})
        self.assertEqual(kernel.attrib, {"interrupt": "false", "hwControlProtocol": "start_done", **shown})
        piped = run("kernel", "show", "/dev/stdin", stdin=Path("k.xml").read_text())
        self.assertEqual(run("kernel", "show", "k.xml"), piped)
        self.expect(["kernel", "report", "a/b/kernel.xml", "-o", "out.xml"], 0)
        self.expect(["kernel", "edit", "k.xml", "-o", "again", "--report", "out.xml"], 0)
        self.expect(["kernel", "report", "again/kernel.xml", "-o", "out2.xml"], 0)
        self.expect_same("out.xml", "out2.xml")
        self.expect(["kernel", "report", "k.xml", "-o", "none.xml"], 3, "",
                    "kp: error: 'k.xml' holds no profile; no report was written\n")
        self.expect(["kernel", "report", "again/kernel.xml", "-o", "no/out.xml"], 3, "",
                    "kp: error: [17-1376] Failed to write 'no/out.xml': No such file or directory\n")
        self.assertFalse(os.path.exists("none.xml"))

    def test_kernel_new(self):
        vadd = ["kernel", "new", "vadd/ip", "--prototype", "void vadd(const uint *a, const uint *b, uint *out, uint length)"]
        known = ["--connect", "a=m_read", "--connect=b=m_read", "--connect", "out=m_write"]
        like_example = [*vadd[:2], *known, *vadd[2:], "--protocol", "start_done", "--interrupt", "false"]
        self.expect([*like_example, "-o", "-"], 0, Path("vadd/kernel.xml").read_text())
        self.expect([*like_example, "-o", "new.xml"], 0)
        self.expect_same("new.xml", "vadd/kernel.xml")
        Path("new.xml").write_text("mine")
        component = "vadd/ip/component.xml"
        other = ["kernel", "new", component, "-o", "n.xml", "--prototype"]
        rows = [
            (3, [*like_example, "-o", "new.xml"], "'new.xml' is there already; a new description replaces no file"),
            (3, [*vadd, "-o", "n.xml"], "The argument 'a' may go through any of 'm_read', 'm_write'; say which with --connect a=PORT"),
            (3, [*other, "void k(ulong length)"],
             "Where the argument 'length' lies on 's_control' cannot be told: its register 'length' has 4 bytes, and it "
             "has 8; give its offset with --offset length=N"),
            (3, ["kernel", "new", "vadd", "-o", "n.xml", "--prototype", "void k()"], "File not found: 'vadd/component.xml'"),
            (2, [*other, "void k(int a; int b)"], "--prototype: column 13: ',' or ')' is expected, but ';' is found"),
            (2, [*other, "void k(word n)"],
             "--prototype: column 8: the size of 'word', the type of 'n', is not known; give it with --size n=N"),
            *[(2, [*other, "void k(int n)", "--offset", *given], f"--offset: '{given[-1]}' is not ARG=N, or the second one of its argument")
              for given in (["n"], ["n=010"], ["n=-1"], ["n=1x"], ["=1"], ["n=1", "--offset", "n=2"])],
        ]
        for status, arguments, text in rows:
            self.expect(arguments, status, "", f"kp: error: {text}\n")
        self.assertEqual("mine", Path("new.xml").read_text())
        self.assertFalse(os.path.exists("n.xml"))
        assumed = "kp: info: the IP describes no registers of these arguments, and their offsets are assumed: n 0x38, m 0x40\n"
        made = run(*other[:3], "-o", "-", "--prototype", "void k(int n, double m, word length)", "--size", "length=0x4")
        self.assertEqual((0, assumed), (made[0], made[2]))
        self.expect([*other, "void k(int n, double m, word length)", "--size", "length=4", "-q"], 0)
        self.assertEqual(made[1], Path("n.xml").read_text())
        self.expect(["add", "p.kp", "n.xml", "--ip", "vadd/ip"], 0)

    def test_customize_loses_nothing(self):
        self.add("p.kp")
        shutil.copy("p.kp", "broken.kp")
        with zipfile.ZipFile("broken.kp", "a") as package:
            package.writestr("foreign", "")
        Path("says.tcl").write_text('puts stderr "a script runs"')
        Path("params").write_text("# depths\n SUM_FIFO_DEPTH = 513\n")
        host = ["--host-script", EXAMPLES + "/host/host.tcl", "--board", "heron"]
        again = "; 'kp verify' tells more, and --reseal goes on and seals the package anew"
        here = self.directory
        rows = [
            ("p.kp", "a/b", "o.kp", [], "Kernel 'a/b' cannot be added to KP container './o.kp': it is not one path "
             "component."),
            ("p.kp", "VADD", "p.kp", [], "Kernel 'VADD' already exists inside KP container './p.kp'"),
            ("p.kp", "n", "no/o.kp", [], "Failed to write to './no': No such file or directory"),
            ("p.kp", "n", "o.kp", ["--param", "SUM_FIFO_DEPHT=4"], "--param: the IP 'example:kernels:vadd:1.0' has no parameter "
             "'SUM_FIFO_DEPHT'; did you mean 'SUM_FIFO_DEPTH'?"),
            ("p.kp", "n", "o.kp", ["--params-file", "params"], "params:2: the value '513' of parameter 'SUM_FIFO_DEPTH' is above "
             "the maximum '512'"),
            ("p.kp", "n", "broken.kp", [], "The digest of './broken.kp' does not hold: the package was changed since "
             f"it was sealed{again}"),
            ("broken.kp", "n", "o.kp", ["quietly"], "Failed to extract RTL kernel from object file. Exception: The digest of "
             f"'{here}/broken.kp' does not hold: the package was changed since it was sealed{again}"),
            ("p.kp", "n", "p.kp", ["quietly", *host], f"Failed to create KP file. Exception: The IP of kernel 'n' differs from "
             f"the one in 'ip_repo/example_kernels_vadd_1_0' of KP container '{here}/./p.kp', the IP of kernel 'vadd'; give "
             "each IP a VLNV of its own, or replace it with --replace-ip"),
        ]
        for package, name, output, more, text in rows:
            before = {path.name: path.read_bytes() for path in Path().glob("*.kp")}
            said = [] if "quietly" in more else ["--host-script", "says.tcl"]
            self.expect(["customize", package, "vadd", "--name", name, "-o", "./" + output, *said,
                         *(option for option in more if option != "quietly")], 3, "", f"kp: error: {text}\n")
            self.assertEqual(before, {path.name: path.read_bytes() for path in Path().glob("*.kp")}, text)
        customize = ["customize", "-q", "--name", "n", *host]
        self.expect([*customize, "p.kp", "vadd", "-o", "./p.kp", "--replace-ip"], 0)
        self.expect([*customize, "broken.kp", "vadd", "-o", "./o.kp", "--reseal"], 0)
        for package in "p.kp", "o.kp":
            self.expect(["verify", package], 0, "digest: valid\n")

    def test_an_ip_is_asked_for_its_parameters_where_it_tells_them(self):
        document = ('<component{}>\n<vendor>example</vendor><library>kernels</library><name>vadd</name>'
                    '<version>1.0</version>{}</component>')
        ieee = ' xmlns="http://www.accellera.org/XMLSchema/IPXACT/1685-2014"'
        named = ("<busInterfaces><busInterface><name>m</name><busType vendor='v' library='l' name='n' version='1'/>"
                 "<monitor/></busInterface></busInterfaces>")
        for attributes, interfaces, param, said in (
                (' xmlns="urn:other"', "", "ANY", ""), (ieee, named, "m.ANY", ""),
                (ieee, "<busInterfaces><busInterface/></busInterfaces>", "ANY",
                 "kp: warning: [17-2009] ip_repo/example_kernels_vadd_1_0/component.xml:2: element 'busInterface' lacks its "
                 "required element 'name'; no parameter is checked\n")):
            Path("vadd/ip/component.xml").write_text(document.format(attributes, interfaces))
            self.add("p.kp", "--replace", "-q")
            self.expect(["customize", "p.kp", "vadd", "--name=n", "-o", "./o.kp", "--host-script",
                         EXAMPLES + "/host/host.tcl", "--param", param + "=1"], 0, "", said)
            os.remove("o.kp")
        os.remove("vadd/ip/component.xml")
        self.add("p.kp", "--replace", "-q")
        self.expect(["customize", "p.kp", "vadd", "--name=n", "-o", "./o.kp", "--host-script", EXAMPLES + "/host/host.tcl", "--param", "ANY=1"],
                    3, "", "kp: error: Failed to customize RTL kernel IP block. Exception: there is no IP definition "
                    "'example:kernels:vadd:1.0'; there are: \n")

    def test_host_scripts_that_change_the_directory_lead_no_path_elsewhere(self):
        self.add("p.kp")
        os.mkdir("elsewhere")
        Path("go.tcl").write_text("cd elsewhere")
        Path("parameters").write_text("kp.enableVersionCheck = true")
        shutil.copy(EXAMPLES + "/host/host.tcl", "host.tcl")
        for shell in ([], ["--tcl-shell", "tclsh8.6"]):
            self.expect(["customize", "p.kp", "VADD", "--name=n", "-o", "./o.kp", "--board=brook:heron:part0:1.2", "--host-script=go.tcl",
                         "--host-script", "host.tcl", "--param", "SUM_FIFO_DEPTH= 64 ", "--keep-scripts", "kept.tcl", *shell], 0,
                        TMPDIR="tmp", KP_PARAM_FILE="parameters")
            self.assertEqual(([], []), (os.listdir("elsewhere"), os.listdir("tmp")))
            self.assertIn("ipx::save_core", Path("kept.tcl").read_text())
            self.expect(["verify", "o.kp"], 0, "digest: valid\n")
            self.assertIn('name="SUM_FIFO_DEPTH" value=" 64 "', run("cat", "o.kp", "n/ip.qmr")[1])
            self.assertIn('label="1L">meadow-200-1</', run("cat", "o.kp", "ip_repo/example_kernels_vadd_1_0/component.xml")[1])
            os.remove("o.kp")
        status, out, err = run("customize", "p.kp", "vadd", "--name=n", "-o", "./n.kp", TMPDIR="p.kp")
        self.assertEqual((3, ""), (status, out))
        self.assertRegex(err, r"\Akp: error: Failed to create directory '.*/p\.kp/quorix-kfab-[\da-f]+': Not a directory\n\Z")

    def test_errors_name_the_thing_and_change_nothing(self):
        self.add("p.kp")
        Path("bad.xml").write_text('<root versionMajor="1" versionMinor="10">\n<kernel>\n<ports><port dataWidth="-1"/>')
        twin = self.derive("twin", vlnv="vadd")
        self.expect(["add", "p.kp", twin, "--cpu-source", "vadd/src/vadd.cpp"], 0)
        self.add("k.kp", "--layout", "kernel")
        customize = ["customize", "-o", "./o.kp", "--name=n"]
        host = ["--board=b", "--host-script", EXAMPLES + "/host/host.tcl"]
        subprocess.run(["zip", "-q", "z.kp", "vadd/kernel.xml"], check=True)
        before = Path("p.kp").read_bytes()
        Path("cut.kp").write_bytes(before[:100])
        below = "value '-1' is below the minimum in attribute 'dataWidth' of element 'port'"
        gone = "The specified KP container does not exist: 'gone.kp'"
        rows = [
            *[([command, "gone.kp", *more], gone) for command, *more in (
                ["list"], ["files"], ["info"], ["cat", "kp.xml"], ["extract", "-d", "n"], ["validate", "--target=hw"])],
            (["verify", "gone.kp"], "File not found: 'gone.kp'"),
            (["add-cache", "gone.kp", "vadd"], "The specified KP file 'gone.kp' does not exist."),
            (["add", "p.kp", "vadd/kernel.xml", "--ip", "vadd/ip"],
             "Kernel 'vadd' already exists inside KP container 'p.kp'"),
            (["add", "p.kp", "bad.xml", "--ip", "vadd/ip"], "[17-132] bad.xml:3: " + below),
            *[(command, "'z.kp' has no kp.xml, so it is no kernel package") for command in (["list", "z.kp"], ["extract", "z.kp", "-dx"])],
            *[(command, "'p.kp' is a package and no XML document; 'kp info' shows what it holds, 'kp cat' its files") for command in
              (["kernel", "show", "p.kp"], ["add", "p.kp", "vadd/kernel.xml", "--report", "p.kp"])],
            (["kernel", "show", "vadd"], "[17-132] vadd: Failed to read 'vadd': Is a directory"),
            (["kernel", "show", "/dev/zero"], "[17-132] /dev/zero: the document is larger than 256 MiB"),
            ([*customize, "p.kp", "vadd", "--params-file", "vadd"], "Failed to read 'vadd': Is a directory"),
            ([*customize, "p.kp", "vadd", *host, "--keep-scripts", "/dev/full"],
             "Failed to customize RTL kernel IP. Exception: Failed to write '/dev/full': No space left on device"),
            ([*customize, "p.kp", "vadd", "--keep-scripts", "no/s.tcl"], "Failed to open 'no/s.tcl': No such file or directory"),
            (["customize", "p.kp", "vadd", "--name=n", "-o", "./k.kp"],
             "'./k.kp' has the layout 'kernel'; a kernel cannot be added in the layout 'repo'"),
            *[([*customize, package, kernel],
               f"Kernel '{kernel}' cannot be customized: '{package}' holds no packaged IP of it in 'ip_repo'")
              for package, kernel in (("p.kp", "twin"), ("k.kp", "vadd"))],
            (["kernel", "show", "bad.xml"], "[17-132] bad.xml:3: " + below),
            *[(["kernel", "show", path], f"[17-132] {path}:1: not well-formed (invalid token)") for path in ("z.kp", "cut.kp")],
            (["add", "p.kp", "--update", "--name=x", "--pdi", "vadd/vadd.qmr"], "Kernel 'x' is not in 'p.kp'; to add it, give its KERNEL.XML"),
            (["list", "--", "--name="], "The specified KP container does not exist: '--name='"),
            *[([*customize, "p.kp", "vadd", "--param", param], f"--param: expected NAME=VALUE, found '{param}'") for param in ("n", "=n")],
            ([*customize, "p.kp", "vadd", "--board=b"], "Failed to customize RTL kernel IP. Exception: invalid command name \"create_project\"; "
             "give a script or a shell that knows the host's commands with --host-script or --tcl-shell"),
            (["add", "p.kp", self.derive("other"), "--layout", "kernel", "--ip", "vadd/ip", "--no-lint"],
             "'p.kp' has the layout 'repo'; a kernel cannot be added in the layout 'kernel'"),
        ]
        for arguments, text in rows:
            self.expect(arguments, 3, "", f"kp: error: {text}\n")
            self.assertEqual(before, Path("p.kp").read_bytes(), arguments)
        self.assertFalse(os.path.exists("o.kp"))
        for more in (["--update"], ["--name=x"], ["--update", "--replace", "--name=x"]):
            self.expect(["add", "p.kp", *more], 2, "", "kp: error: KERNEL.XML (it may be left out with --update --name) is required\n")
        for wrong in (["extract", "p.kp", "-d", ""], ["customize", "p.kp", "vadd", "--name=n", "-o", ""],
                      ["kernel", "edit", "vadd/kernel.xml", "-o", ""], ["validate", "p.kp", "--target", "fpga"], ["list", "p.kp", "--bogus"],
                      ["add", "p.kp", "vadd/kernel.xml", "--project=", "--ip=no"]):
            status, out, err = run(*wrong)
            self.assertEqual((2, ""), (status, out), wrong)
            self.assertRegex(err, r"\Akp: error: .+\n\Z")
