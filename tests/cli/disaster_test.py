"""Disasters at every step of the command kp: a package stays whole, and no extracted file is ever cut short.

A run prints how many disasters it tried: all of them, and longer crowds, with KP_LONG_TESTS=1, else a part."""

import json
import os
import random
import re
import signal
import subprocess
import time
import unittest
import zipfile
from collections import Counter, namedtuple
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from disaster_case import ADD, CAN_TRACE, LITTER, SANITIZED, DisasterCase, contents, litter, succeeds, trace
from kp_case import KP

LONG = os.environ.get("KP_LONG_TESTS") == "1"
READ = "p?read(64)?|getdents64|(new)?fstat(at)?|statx|readlink|faccessat2?"
CHANGE = ("openat|p?write(64)?|ftruncate|fallocate|copy_file_range|sendfile|fsync|fdatasync|rename(at2?)?|link(at)?|"
          "symlink(at)?|unlink(at)?|mkdir(at)?|rmdir|f?chmod(at)?|f?chown(at)?|utimensat|flock")
SYSTEM = r"(\d<|\")/(etc|usr|proc|sys|dev|lib)\b|write\([12]<|<(pipe|anon)"
NOBODY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"] if os.geteuid() == 0 else ["env"]

# `removes`: it strikes what removes litter, which may stay then.
Disaster = namedtuple("Disaster", "call fault removes")


class DisasterTest(DisasterCase):
    def disasters(self, arguments):
        """Each call of a run that changes the disk is killed, refused and starved, each that reads is refused.

        Once a disk is full or descriptors are out, it stays so."""
        subprocess.run([*trace("%file,%desc", "../trace"), KP, "-q", *arguments], env=self.environment,
                       stdout=subprocess.DEVNULL, check=True)
        lines = Path("../trace").read_text().splitlines()
        loaded = max(number for number, line in enumerate(lines) if ".so" in line)
        numbers = Counter()
        for at, line in enumerate(lines):
            call = line[:line.index("(")]
            numbers[call] += 1
            reads = re.fullmatch(READ, call) or call == "openat" and "O_CREAT" not in line
            if at <= loaded or re.search(SYSTEM, line) or not (reads or re.fullmatch(CHANGE, call)):
                continue
            removes = call in ("unlink", "unlinkat", "rmdir") or (
                reads and re.search(LITTER, line) and not lines[at - 1].startswith("mkdir"))
            opens = call == "openat"
            for fault in (["error=EIO", *["error=ENOENT", "error=EMFILE"] * opens] if reads else
                          ["signal=KILL", "error=EIO", "error=ENOSPC", *["retval=0"] * (call == "pwrite64")]):
                # What there is to remove cannot be looked for, or is said to be gone.
                starves, hides = fault == "error=EMFILE", fault == "error=ENOENT" and re.search(LITTER, line)
                lasts = "+" * (starves or fault == "error=ENOSPC" and not opens)
                yield Disaster(call, f"{fault}:when={numbers[call]}{lasts}", removes or starves or hides)

    def suffer(self, arguments, old, new, disaster):
        self.restore(old)
        call, fault, removes = disaster
        done = self.run_kp(*arguments, before=trace(call, "/dev/null", "-e", f"inject={call}:{fault}"))
        present = contents()
        left = litter(present)
        for path in left:
            present.pop(path)
        self.assertLessEqual(old.keys(), present.keys())
        for path in present:
            self.assertIn(present[path], [state[path] for state in (old, new) if path in state], path)
        extracts = arguments[0] == "extract"
        if "KILL" in fault:
            self.assertEqual(-signal.SIGKILL, done[0])
        elif not removes:
            self.assertEqual([], left, done)
        if done[0] == 0:
            self.assertEqual(("", new), (done[2], {path: present[path] for path in new}))
        elif done[0] > 0 and not (done[0] == 2 and call == "newfstatat"):  # which looks at arguments
            self.expect_refusal(done, "")
            self.assertTrue(extracts or present == old)
        if done[0] < 0 or extracts:
            done = self.run_kp(*arguments)
            self.assertTrue(done[0] == 0 or "p.kp" in new and present["p.kp"] == new["p.kp"], done)
            self.assertEqual(new, {path: content for path, content in contents().items() if "scratch/" not in path})

    @unittest.skipUnless(CAN_TRACE, "no process can be traced here")
    def test_at_every_call(self):
        extract = ["extract", "p.kp", "-d", "out", "--force"]
        changes = self.changes()
        second, replace = changes[1][-1], changes[2][-1]
        for *prepared, operation in (*changes, [ADD, second, extract], [ADD, extract, replace, extract]):
            old = self.prepare(prepared)
            time.sleep(0.1)
            every = list(self.disasters(operation))
            new = contents()
            tried = every if LONG else every[::11]
            for disaster in tried:
                with self.subTest(operation=operation, disaster=disaster):
                    self.suffer(operation, old, new, disaster)
            print(f"{len(tried)} of {len(every)} disasters: kp {' '.join(operation)}", flush=True)

    def test_a_crowd_of_whom_some_are_killed(self):
        """Each replaces a kernel of its own in one package, or reads it; what was reported done stays done."""
        end = time.monotonic() + (60 if LONG else 4)

        def work(worker):
            chance, tried, done, killed = random.Random(worker), 0, 0, 0
            add = ["add", "p.kp", self.derive(f"../k{worker}"), "--ip", "../vadd/ip", "--replace", "--update", "--project"]
            while time.monotonic() < end:
                tried += 1
                arguments = [*add, f"{tried}"] if tried == 1 or chance.random() < 0.5 else chance.choice(
                    [["verify", "p.kp"], ["extract", "p.kp", "-d", "out", "--force"]])
                dies_after = chance.uniform(0, 0.1) if tried > 1 and chance.random() < 0.3 else None
                status, _, complaint = self.run_kp(*arguments, dies_after=dies_after)
                self.assertIn((status, complaint), [(0, ""), (-signal.SIGKILL, "")][:1 + (dies_after is not None)])
                killed += status != 0
                done = tried if status == 0 and arguments[0] == "add" else done
            return done, tried, killed

        with ThreadPoolExecutor(6) as crowd:
            results = list(crowd.map(work, range(6)))
        self.do(*ADD, "--replace", "--update")
        self.assertEqual("digest: valid\n", self.do("verify", "p.kp"))
        projects = {kernel["name"]: kernel["projectId"] for kernel in json.loads(self.do("list", "p.kp", "--json"))["kernels"]}
        for worker, (done, tried, _) in enumerate(results):
            self.assertTrue(done <= int(projects.get(f"k{worker}", 0)) <= tried, (results, projects))
        self.do("extract", "p.kp", "-d", "out", "--force")
        self.assertEqual([], [path for path in litter(contents()) if "scratch/" not in path])
        print(f"{sum(tried for _, tried, _ in results)} runs of a crowd, {sum(results[2] for results in results)} killed")

    @unittest.skipUnless(succeeds(*NOBODY, KP, "--version"), "kp cannot be run as somebody without rights here")
    def test_without_the_right_to(self):
        self.do(*ADD)
        os.chmod("scratch", 0o777)
        other = ["add", "p.kp", self.derive("../other"), "--ip", "../vadd/ip"]
        for path, mode, arguments in (("p.kp", 0o666, other), ("p.kp", 0o644, other), ("p.kp", 0, ["list", "p.kp"]),
                                      (".", 0o555, ["extract", "p.kp", "-d", "out"]), ("../other.xml", 0, other),
                                      (".", 0, ["cat", "../at/p.kp", "kp.xml"]), ("scratch", 0o755, other),
                                      ("../vadd/ip/hdl/vadd.v", 0, ["add", "scratch/p.kp", *other[2:]])):
            before, usual = contents(), os.stat(path).st_mode
            os.chmod(path, mode)
            self.expect_refusal(self.run_kp(*arguments, before=NOBODY), "(Permission denied|not writable)", (path, arguments))
            os.chmod(path, usual)
            self.assertEqual(before, contents())

    @unittest.skipIf(SANITIZED, "a sanitizer takes more memory than there is here")
    def test_with_little_memory(self):
        """A manifest of 1 MB that is a billion bytes, and a report as deep as can be and one level deeper."""
        with zipfile.ZipFile("p.kp", "w", zipfile.ZIP_DEFLATED) as package, package.open("kp.xml", "w") as manifest:
            for _ in range(1000):
                manifest.write(bytes(1_000_000))
        for arguments in (["list", "p.kp"], ["extract", "p.kp", "-d", "out"], ADD):
            done = self.run_kp(*arguments, before=["prlimit", "--as=300000000"])
            self.expect_refusal(done, "larger than 256 MiB", arguments)

        def edit(levels):
            Path("deep.xml").write_text("<profile><RTLDesignHierarchy><TopModule>" + levels *
                                        "<InstancesList><Instance><InstName/><ModuleName/><ID>1</ID>" + levels *
                                        "</Instance></InstancesList>" + "</TopModule></RTLDesignHierarchy></profile>")
            return self.run_kp("kernel", "edit", "../vadd/kernel.xml", "-o", ".", "--report", "deep.xml", before=little)

        little = ["prlimit", "--stack=2000000"]
        self.assertEqual((0, "", ""), edit(997))
        self.assertEqual((0, "", ""), self.run_kp("kernel", "report", "kernel.xml", "-o", "back.xml", before=little))
        self.assertEqual(997, Path("back.xml").read_text().count("<Instance>"))
        self.expect_refusal(edit(998), "nested deeper than 2000")
