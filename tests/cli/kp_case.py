"""What the tests of the command kp share: runs of it, also on a terminal, in a directory with a copy of the example."""

import fcntl
import os
import pty
import select
import shutil
import struct
import subprocess
import tempfile
import termios
import time
import unittest
import zipfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
KP = os.environ["KP"]
EXAMPLES = os.environ["KP_EXAMPLES_DIR"]
JOBS = ["-j", os.environ["KP_TEST_JOBS"]] if "KP_TEST_JOBS" in os.environ else []  # for a second run


def run(*arguments, stdin="", **environment):
    done = subprocess.run([KP, *JOBS, *arguments], capture_output=True, text=True, input=stdin,
                          env={**os.environ, **environment})
    return done.returncode, done.stdout, done.stderr


class OnTerminal:
    """A run of kp whose standard error is a terminal of its own, and whose standard input is never at its end.

    With a width, which is the terminal's, the answer goes to it as well."""

    def __init__(self, *arguments, width=None, **environment):
        self.screen, terminal = pty.openpty()
        fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, width or 0, 0, 0))
        self.process = subprocess.Popen([KP, *arguments], stdin=subprocess.PIPE, stderr=terminal,
                                        stdout=subprocess.PIPE if width is None else terminal, env={**os.environ, "TERM": "xterm", "NO_COLOR": "",
                                                              "KP_PROGRESS_DELAY": "0", **environment})
        os.close(terminal)

    def read(self):
        """What comes on the screen next; nothing at the end."""
        try:
            return os.read(self.screen, 1 << 16)
        except OSError:  # the other end is closed
            return b""

    def read_until(self, text):
        """The screen up to a text; without one, nothing, once there was time to begin."""
        if text is None:
            time.sleep(0.3)
            return ""
        shown = b""
        while text.encode() not in shown:
            assert select.select([self.screen], [], [], 20)[0], f"{text!r} never came: {shown!r}"
            shown += self.read()
        return shown.decode()

    def finish(self):
        """The exit status, standard output, and the rest of the screen."""
        shown = b"".join(iter(self.read, b"")).decode()
        out = (self.process.communicate()[0] or b"").decode(errors="replace")
        os.close(self.screen)
        return self.process.returncode, out, shown


class KpCase(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.directory = tempfile.mkdtemp(prefix="kp-test-")
        self.addCleanup(shutil.rmtree, self.directory)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.directory)
        shutil.copytree(EXAMPLES + "/vadd", "vadd")

    def expect(self, arguments, status, stdout="", stderr="", **more):
        self.assertEqual((status, stdout, stderr), run(*arguments, **more), arguments)

    def add(self, package, *more):
        self.expect(["add", package, "vadd/kernel.xml", "--ip", "vadd/ip", *more], 0)

    def change(self, path, *pieces, into=None):
        """The path of a document like one that is there, if not of that itself, with pieces of it replaced."""
        text = Path(path).read_text()
        for piece, other in pieces:
            self.assertIn(piece, text)
            text = text.replace(piece, other)
        Path(into or path).write_text(text)
        return into or path

    def derive(self, path, vlnv=None):
        """The path of a kernel description like the example's under another name, which ends the path, and VLNV."""
        name = Path(path).name
        return self.change(Path(self.directory, "vadd/kernel.xml"), ('name="vadd"', f'name="{name}"'),
                           (":vadd:", f":{vlnv or name}:"), into=path + ".xml")

    def rewrite(self, package, changes):
        """A package like another one, some members of which are changed by functions."""
        with zipfile.ZipFile(package) as before, zipfile.ZipFile("changed.kp", "w") as after:
            for name in before.namelist():
                after.writestr(name, changes.get(name, lambda data: data)(before.read(name)))
        return "changed.kp"

    def add_odd(self):
        """A package whose kernel has a little of everything, much of it wrong."""
        given = {"--cpu-source": "a.cpp", "--pdi": "x.pdi", "--sw-emu": "e.so", "--shim": "s.bin", "--debug-dir": "debug/d",
                 "--hls-dir": "hls/h"}
        for name in (*given.values(), "caches/c1/c.qmr", "caches/c2/c.qmr"):
            Path(name).parent.mkdir(parents=True, exist_ok=True)
            Path(name).write_text(name)
        parts = [word for option, name in given.items() for word in (option, name.partition("/")[0])]
        for command in (["add", "odd.kp", HERE / "odd.xml", *parts, "--project", "p7", "--top-ip", "top", "--no-lint"],
                        ["add-cache", "odd.kp", "caches"]):
            self.expect([*command, "-q"], 0, SOURCE_DATE_EPOCH="1600000000")
        with zipfile.ZipFile("odd.kp", "a") as package:
            for name in ("notes.txt", "ip/h.v", "void/", "new/" + "x" * 170):
                package.writestr("odd/" + name, "mine" if name[-1] != "/" else "")
