"""What the tests of the command kp share: runs of it, also on a terminal, in a directory with a copy of the example."""

import os
import pty
import select
import shutil
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

KP = os.environ["KP"]
EXAMPLES = os.environ["KP_EXAMPLES_DIR"]
JOBS = ["-j", os.environ["KP_TEST_JOBS"]] if "KP_TEST_JOBS" in os.environ else []  # for a second run


def run(*arguments, stdin="", **environment):
    done = subprocess.run([KP, *JOBS, *arguments], capture_output=True, text=True, input=stdin,
                          env={**os.environ, **environment})
    return done.returncode, done.stdout, done.stderr


class OnTerminal:
    """A run of kp whose standard error is a terminal of its own, and whose standard input is never at its end."""

    def __init__(self, *arguments, **environment):
        self.screen, terminal = pty.openpty()
        self.process = subprocess.Popen([KP, *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=terminal, env={**os.environ, "TERM": "xterm", "NO_COLOR": "",
                                                              "KP_PROGRESS_DELAY": "0", **environment})
        os.close(terminal)

    def read(self):
        """What comes on the screen next; nothing at the end."""
        try:
            return os.read(self.screen, 1 << 16).decode()
        except OSError:  # the other end is closed
            return ""

    def read_until(self, text):
        """The screen up to a text; without one, nothing, once there was time to begin."""
        if text is None:
            time.sleep(0.3)
            return ""
        shown = ""
        while text not in shown:
            assert select.select([self.screen], [], [], 20)[0], f"{text!r} never came: {shown!r}"
            shown += self.read()
        return shown

    def finish(self):
        """The exit status, standard output, and the rest of the screen."""
        shown = "".join(iter(self.read, ""))
        out = self.process.communicate()[0].decode()
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

    def derive(self, path, vlnv=None):
        """The path of a kernel description like the example's under another name, which ends the path, and VLNV."""
        text, name = Path(self.directory, "vadd/kernel.xml").read_text(), Path(path).name
        text = text.replace('name="vadd"', f'name="{name}"').replace(":vadd:", f":{vlnv or name}:")
        Path(path + ".xml").write_text(text)
        return path + ".xml"
