"""The command kp at home on a user's machine: its help, pages and completions, pipes, terminals and signals."""

import os
import re
import shutil
import subprocess
import tempfile
import unittest

KP = os.environ["KP"]
EXAMPLE = os.environ["KP_EXAMPLES_DIR"] + "/vadd"
SHARE = os.environ["KP_SHARE_DIR"]
with open(os.environ["KP_HANDBOOK"]) as handbook:
    SECTIONS = dict(part.split("\n", 1) for part in handbook.read().split("\n## ")[1:])
COMMANDS = [title[3:] for title in SECTIONS if title.startswith("kp ")]


def run(*arguments, stdin="", **environment):
    done = subprocess.run([KP, *arguments], capture_output=True, text=True, input=stdin,
                          env={**os.environ, **environment})
    return done.returncode, done.stdout, done.stderr


class TerminalTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.directory = tempfile.mkdtemp(prefix="kp-terminal-")
        self.addCleanup(shutil.rmtree, self.directory)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.directory)
        shutil.copytree(EXAMPLE, "vadd")

    def expect(self, arguments, status, stdout="", stderr="", **more):
        self.assertEqual((status, stdout, stderr), run(*arguments, **more), arguments)

    def test_help_handbook_and_man_pages_know_the_same_commands_and_options(self):
        listed = set()
        for command in COMMANDS:
            status, shown, _ = run(*command.split(), "--help")
            self.assertEqual(0, status)
            self.assertIn(f"Example:\n  kp {command}", shown)
            self.assertEqual(set(re.findall(r"--[a-z][a-z-]+", shown.split("Options:")[1].split("Example:")[0])),
                             {"--help", *re.findall(r"--[a-z][a-z-]+", SECTIONS["kp " + command])}, command)
            with open(f"{SHARE}/man/man1/kp-{command.replace(' ', '-')}.1") as page:
                self.assertIn(f"\n.SY \"kp {command}\"\n".replace("-", "\\-"), page.read())
            listed.update(command.split()[:1])
        self.assertEqual(listed, set(re.findall(r"^  ([a-z-]+) ", run("--help")[1].split("Subcommands:")[1]
                                                .split("Examples:")[0], re.M)))
        statuses = re.findall(r"^\| (\d+) \|", SECTIONS["Exit status"], re.M)
        self.assertEqual(statuses, re.findall(r"^  (\d+) ", run("--help")[1].split("Exit status:")[1], re.M))
        pages = sorted(os.listdir(SHARE + "/man/man1"))
        self.assertEqual(sorted(["kp.1", *(f"kp-{command.replace(' ', '-')}.1" for command in COMMANDS)]), pages)
        if shutil.which("groff"):
            checked = subprocess.run(["groff", "-man", "-ww", "-z", *pages], cwd=SHARE + "/man/man1",
                                     capture_output=True, text=True)
            self.assertEqual((0, "", ""), (checked.returncode, checked.stdout, checked.stderr))

    def test_bash_completes_subcommands_options_and_values(self):
        script = ('source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); compopt() { :; }; _kp; '
                  'printf "%s\\n" "${COMPREPLY[@]}"')
        os.makedirs("vadd/two words")
        rows = [(["va"], "validate"), (["kernel", "e"], "edit"), (["-q", "kernel", "show", "--j"], "--json"),
                (["add", "p.kp", "--cp"], "--cpu-source"), (["add", "--layout", "r"], "repo"),
                (["validate", "p.kp", "--target", "=", "hw_"], "hw_emu"), (["add", "list", "--la"], "--layout"),
                (["extract", "p.kp", "-d", "vadd/tw"], "vadd/two words"), (["add", "p.kp", ""], "")]
        for words, expected in rows:
            completed = subprocess.run(["bash", "-c", script, SHARE + "/bash-completion/completions/kp", "kp", *words],
                                       capture_output=True, text=True)
            self.assertEqual((expected + "\n", ""), (completed.stdout, completed.stderr), words)

    def test_a_word_that_is_none_is_named_with_what_was_meant(self):
        rows = [(["--bogus"], "'--bogus' is not an option of kp; see kp --help"),
                (["--versoin"], "'--versoin' is not an option of kp; did you mean '--version'?"),
                (["list", "p.kp", "--jsno"], "'--jsno' is not an option of kp list; did you mean '--json'?"),
                (["kernel", "edit", "k.xml", "--reprot=r.xml"],
                 "'--reprot' is not an option of kp kernel edit; did you mean '--report'?"),
                (["lst", "--help"], "'lst' is not a subcommand; did you mean 'list'?"),
                (["kernel", "shw", "--help"], "'kernel shw' is not a subcommand; did you mean 'kernel show'?")]
        for arguments, text in rows:
            self.expect(arguments, 2, "", f"kp: error: {text}\n")

    def test_a_dash_is_standard_input_or_output_and_paths_may_be_anything(self):
        with open("vadd/kernel.xml") as file:
            description = file.read()
        with open("vadd/design.xml") as file:
            report = file.read()
        self.expect(["kernel", "edit", "vadd/kernel.xml", "-o", "one", "--report", "vadd/design.xml"], 0)
        with open("one/kernel.xml") as file:
            edited = file.read()
        self.expect(["kernel", "edit", "vadd/kernel.xml", "-o", "-", "--report", "-"], 0, edited, stdin=report)
        self.expect(["kernel", "edit", "-", "-o", "-", "--report", "vadd/design.xml"], 0, edited, stdin=description)
        self.expect(["kernel", "report", "one/kernel.xml", "-o", "r.xml"], 0)
        with open("r.xml") as file:
            self.expect(["kernel", "report", "-", "-o", "-"], 0, file.read(), stdin=edited)
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


if __name__ == "__main__":
    unittest.main()
