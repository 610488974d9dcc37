"""What the tests of disasters share: runs of kp in a directory of their own, what is there before and after, and the
operations that change packages and documents."""

import os
import re
import shutil
import subprocess
import time
from pathlib import Path

from kp_case import KP, KpCase

SANITIZED = bool(os.environ.get("KP_SANITIZE"))

# What a killed process may leave. The next one removes it, but for the temporary directory, and never minds it.
LITTER = r"(doc/)?\.(p\.kp|kernel\.xml)\.kp-[0-9a-f]{12}|out/[0-9a-f]{12}\.kp-incomplete|scratch/"
ADD = ["add", "p.kp", "../vadd/kernel.xml", "--ip", "../vadd/ip"]


def trace(calls, log, *more):
    return ["strace", "-qq", "-y", "-o", log, "-e", "trace=" + calls, *more]


def succeeds(*command):
    return shutil.which(command[0]) and subprocess.run(command, capture_output=True).returncode == 0


CAN_TRACE = succeeds(*trace("read", "/dev/null", "true"))


def contents():
    """All below the working directory: a file by its bytes, a directory by None."""
    return {str(path): None if path.is_dir() else path.read_bytes() for path in Path(".").rglob("*")}


def litter(present):
    return [path for path in present if re.match(LITTER, path)]


class DisasterCase(KpCase):
    """Each works in a directory below the one with the example, so that only what it makes is there."""

    def setUp(self):
        super().setUp()
        os.chmod(self.directory, 0o755)
        os.makedirs("at/scratch")
        os.makedirs("caches/c1")
        shutil.copy("vadd/vadd.qmr", "caches/c1")
        os.chdir("at")
        self.environment = {**os.environ, "SOURCE_DATE_EPOCH": "1600000000", "TMPDIR": "scratch"}
        if SANITIZED:
            self.environment["ASAN_OPTIONS"] = "detect_leaks=0"  # for which a process would have to trace itself

    def run_kp(self, *arguments, before=(), dies_after=None):
        """Exit status, answer and complaint."""
        process = subprocess.Popen([*before, KP, "-q", *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   text=True, env=self.environment)
        if dies_after is not None:
            time.sleep(dies_after)
            process.kill()
        answer, complaint = process.communicate()
        return process.returncode, answer, complaint

    def do(self, *arguments):
        status, answer, complaint = self.run_kp(*arguments)
        self.assertEqual((0, ""), (status, complaint), arguments)
        return answer

    def expect_refusal(self, done, reason, what=None):
        """One clear line that names the thing; of an extraction one for each kernel."""
        self.assertEqual(3, done[0], (what, done))
        self.assertRegex(done[2], rf"\A(kp: error: [^\n]*'[^\n]+'[^\n]*{reason}[^\n]*\n)+\Z", what)

    def restore(self, state, settles=True):
        present = contents()
        for path in sorted(present.keys() - state.keys(), reverse=True):
            os.rmdir(path) if present[path] is None else os.remove(path)
        for path, content in sorted(state.items()):
            if content is None:
                os.makedirs(path, exist_ok=True)
            elif present.get(path) != content:
                Path(path).write_bytes(content)
                time.sleep(0.1 * settles)  # a package that has just changed is looked at more often

    def changes(self):
        """Each operation that changes a package or a document, after those that prepare what it works on."""
        second = ["add", "p.kp", self.derive("../second"), "--ip", "../vadd/ip"]
        replace = [*ADD, "--replace", "--update", "--cpu-source", "../vadd/src/vadd.cpp", "--debug-dir", "../vadd/src"]
        update = ["add", "p.kp", "../vadd/kernel.xml", "--update", "--pdi", "../vadd/vadd.qmr"]
        write = ["kernel", "edit", "../vadd/kernel.xml", "-o", "doc"]
        part = ["add", "a.kp", "../vadd/kernel.xml", "--ip", "../vadd/ip"]
        merge = ["merge", "-o", "p.kp", "a.kp", "b.kp"]
        return [[ADD], [ADD, second], [ADD, second, replace], [ADD, update], [ADD, ["add-cache", "p.kp", "../caches"]],
                [ADD, second, ["remove", "p.kp", "second"]], [part, ["add", "b.kp", *second[2:]], merge],
                [write, [*write, "--debug=true"]]]

    def prepare(self, operations):
        self.restore({"scratch": None})
        for arguments in operations:
            self.do(*arguments)
        return contents()
