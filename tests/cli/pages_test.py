"""What describes the command kp: its help, the handbook, man pages and the completions of shells say the same."""

import os
import re
import shutil
import subprocess
from pathlib import Path

import shells
from kp_case import KP, KpCase, run

HANDBOOK = Path(os.environ["KP_HANDBOOK"]).read_text()
SECTIONS = dict(part.split("\n", 1) for part in HANDBOOK.split("\n## ")[1:])
PAGES = {title.replace(" ", "-"): title[3:] for title in ["kp", "kp kernel", *SECTIONS] if title.startswith("kp")}
CHECKS = re.findall(r"`(\w+)`", re.search(r"^\| 1 \|.*", SECTIONS["Exit status"], re.M)[0])
USUAL = {"add --top-ip": " [.]", "lint --format": " [text]"}
HELP = ".TP\n-h, --help\nPrint this help and exit.\n"
SCRIPTS = {"bash": "made/bash-completion/completions/kp", "zsh": "made/zsh/site-functions/_kp", "fish": "made/fish/vendor_completions.d/kp.fish"}


def make_pages(*arguments):
    done = subprocess.run([os.environ["KP_PAGES"], *arguments], capture_output=True, text=True)
    return done.returncode, done.stdout, done.stderr


def page(name):
    """The sections of a man page as plain text, but for macros and blanks that do not break."""
    roff = re.sub(r"\\f[BIR]|\\&", "", Path("made/man/man1", name + ".1").read_text()).replace("\\-", "-")
    return dict(part.split("\n", 1) for part in roff.replace("\\e", "\\").split(".SH ")[1:])


def summary_of(name):
    return page(name)["NAME"].strip().partition(" - ")[2]


def terms(section):
    return re.findall(r"^\.TP\n(.+)\n(.+)\.$", section, re.M)


def words_of(text):
    text = re.sub(r"^\|.*\n\|--.*|^\..*", "", text, flags=re.M)  # titles of tables, macros
    return re.findall(r"[\w'*]+", re.sub(r"\]\([^)]*\)", "", text))


def help_list(title, rows):
    lines = [f"  {term:<29} {text}" if len(term) < 30 else f"  {term}\n{'':32}{text}" for term, text in rows]
    return "\n".join(["", title + ":", *lines, ""]) if rows else ""


class Option:
    """One of a command, as its man page and the synopses in the handbook have it."""

    def __init__(self, term, text, synopses):
        names, self.value = re.fullmatch(r"(-[\w-]+(?:, -[\w-]+)?)(?: (\S+))?", term).groups("")
        self.names, self.text, self.words = names.split(", "), text, self.value.split("|") if "|" in self.value else []
        found = re.search(rf"(\[?){self.names[-1]}(?: ([A-Z=]+|[\w|]+\|\w+))?\]?(\.\.\.)?(?![\w-])", synopses)
        self.stated = (found[2] or "") if found else self.value
        self.isNeeded, self.isRepeated = bool(found and self.value and not found[1]), bool(found and found[3])


class Command:
    """A command, the whole or a group, as its man page and the handbook have it."""

    def __init__(self, name):
        self.line, self.page, self.summary = PAGES[name], page(name), summary_of(name)
        self.words, self.section = self.line.split(), SECTIONS.get(f"kp {self.line}", "\n\n")
        block = re.match(r"\n((?:    .*\n)*)\n", self.section)[1]
        self.forms = [" ".join(form.split()) for form in block.split(f"    kp {self.line} ")[1:]]
        self.terms = terms(self.page.get("OPTIONS", HELP))
        self.options = [Option(*row, " ".join(self.forms)) for row in self.terms if row[0].startswith("-")]
        rest = [re.sub(r"--[\w-]+( [A-Z=]+\b| [\w|]+\|\w+)?", "", form).split() for form in self.forms]
        positionals = [[word for word in words if re.search("[A-Z]", word)] for words in rest] or [[]]
        self.positionals = [word if all(positionals) or "[" in word else f"[{word}]" for word in positionals[0]]
        listed = [PAGES[row[0][:-3]] for row in terms(self.page.get("SUBCOMMANDS", ""))]
        self.examples = [page("kp-" + line.replace(" ", "-"))["EXAMPLE"].split("\n")[1] for line in listed or [self.line]]
        self.below = {word: summary_of("-".join(["kp", *self.words, word])) for word in (line.split()[len(self.words)] for line in listed)}

    def help(self):
        options = [(",".join(option.names) + (option.value and " " + option.value) + USUAL.get(f"{self.line} {option.names[-1]}", ""), option.text)
                   for option in self.options]
        checks = not self.words or self.line in CHECKS
        statuses = [("0", "done; what was checked holds" if checks else "done"), *[("1", "a check found something")] * checks,
                    ("2", "wrong usage"), ("3", "the operation failed; a package it would have changed is as it was"),
                    ("130", "interrupted by SIGINT, likewise; 143 by SIGTERM, 129 by SIGHUP")]
        return (f"{self.summary}\nUsage: {' '.join(['kp', *self.words, '[OPTIONS]', *self.positionals, *['SUBCOMMAND'] * bool(self.below)])}\n" +
                help_list("Positionals", [row for row in self.terms if row[0][0] != "-"]) + help_list("Options", options) +
                help_list("Subcommands", self.below.items()) + "\n  ".join(["\nExample" + "s" * bool(self.below) + ":", *self.examples]) +
                "\n\nExit status:\n" + "".join(f"  {status:<5}{text}\n" for status, text in statuses))


class PagesTest(KpCase):
    def setUp(self):
        super().setUp()
        self.assertEqual((0, "", ""), make_pages(os.environ["KP_HANDBOOK"], "made"))
        self.commands = [Command(name) for name in PAGES]
        self.environment = {**os.environ, "HOME": self.directory, "PATH": f"{Path(KP).parent}:{os.environ['PATH']}"}

    def test_help_and_man_pages_and_the_handbook_say_the_same(self):
        for command in self.commands:
            self.expect([*command.words, "--help"], 0, command.help())
            self.expect(["help", *command.words], 0, command.help())
            if command.below:
                self.expect(["-q", *command.words], 2, "", command.help())
                continue
            self.assertEqual([option.stated for option in command.options], [option.value for option in command.options], command.line)
            self.assertEqual({*re.findall(r"--[a-z][a-z-]+", command.section)} - {"--help"},
                             {option.names[-1] for option in command.options} - {"--help"}, command.line)
            forms = [re.sub(r"\[([^][]|\[[^]]*\])*\]", lambda found: found[0].replace(" ", "\\ "), form) for form in command.forms]
            self.assertEqual("".join(f'.SY "kp {command.line}"\n{form}\n.YS\n' for form in forms), command.page["SYNOPSIS"])
            self.assertEqual(words_of(command.section.split("\n\n", 1)[1]), words_of(command.page["DESCRIPTION"]))
            self.assertIn("\nExit status:\n" + "".join(f"  {status:<5}{text}\n" for status, text in terms(command.page["EXIT STATUS"])), command.help())
            self.assertEqual("kp(1)\n", command.page["SEE ALSO"])
        self.expect([], 2, "", self.commands[0].help())
        self.assertEqual(sorted({*PAGES} - {"kp", "kp-kernel"}), sorted(row[0][:-3] for row in terms(self.commands[0].page["SUBCOMMANDS"])))
        self.assertEqual({"NAME", "SYNOPSIS", "DESCRIPTION", "SUBCOMMANDS", "OPTIONS", *(
            title.upper() for title in SECTIONS if not title.startswith("kp "))}, {*self.commands[0].page})
        self.assertEqual(sorted(f"{name}.1" for name in PAGES), sorted(os.listdir("made/man/man1")))
        if shutil.which("groff"):
            checked = subprocess.run(["groff", "-man", "-ww", "-z", *os.listdir("made/man/man1")], cwd="made/man/man1", capture_output=True, text=True)
            self.assertEqual((0, "", ""), (checked.returncode, checked.stdout, checked.stderr))

    def test_what_a_command_needs_must_be_given(self):
        for command in self.commands:
            needed = [(name.rstrip("."), [name]) for name in command.positionals if "[" not in name] + [
                (option.names[-1], [option.names[-1], (option.words or ["x"])[0]]) for option in command.options if option.isNeeded]
            for at, (name, _) in enumerate(needed):
                left = needed[:at] + needed[at + 1:] * name.startswith("-")
                self.expect([*command.words, *(word for _, words in left for word in words)], 2, "", f"kp: error: {name} is required\n")

    def test_markdown_becomes_macros_and_a_handbook_that_lacks_something_is_refused(self):
        pieces = {".a dot, a \\backslash and\n'quoted' `code`. A [link](a.md#b), [KERNEL], `` and a `mark":
                  r"\&.a dot, a \ebackslash and 'quoted' \fBcode\fR\&. A link, [KERNEL], \fB\fR and a `mark",
                  "- one `code that\n  goes on`\n- two -x": ".IP \\(bu 2\none \\fBcode that goes on\\fR\n.IP \\(bu 2\ntwo \\-x",
                  "    block  -x\n        'more": ".PP\n.RS 4\n.EX\nblock  \\-x\n    'more\n.EE\n.RE",
                  "| A | B |\n|---|---|\n| `a-b` | c |": ".TP\n\\fBa\\-b\\fR\nc"}
        Path("odd.md").write_text(HANDBOOK + "\n## Odd -- things\n\n" + "\n\n".join(pieces) + "\n")
        self.assertEqual((0, "", ""), make_pages("odd.md", "odd"))
        self.assertEqual("\n".join(["ODD \\-\\- THINGS", *pieces.values(), ""]), Path("odd/man/man1/kp.1").read_text().split("\n.SH ")[-1])
        command = "    kp list PACKAGE [--json]\n"
        for piece, other, text in (("## kp list", "## list", "The handbook has no section 'kp list'"),
                                   (command, "", "The handbook has no synopsis of 'kp list'"),
                                   (command, "    kp info\n", "The handbook's synopsis of 'kp list' begins with 'kp info'"),
                                   ("\n| 2 |", "\n| 2 | 3 |", "Not two columns: '| 2 | 3 | wrong usage |'")):
            Path("odd.md").write_text(HANDBOOK.replace(piece, other))
            self.assertEqual((3, "", f"kp_pages: {text}\n"), make_pages("odd.md", "odd"))
        self.assertEqual((2, "", "usage: kp_pages HANDBOOK DIRECTORY\n"), make_pages("odd.md"))

    def test_shells_complete_every_subcommand_option_value_and_name(self):
        self.add("p.kp")
        Path("vax").touch()
        names, again, rows = {}, {}, {"kp cat p.kp vadd/k": ["vadd/kernel.xml"], "kp help kernel r": ["report"],
                                      "kp list va": ["vadd", "vax"], "kp add --layout=": ["kernel", "repo"]}
        for command in self.commands:
            line = f"kp {command.line}".strip()
            names[line] = [name for option in command.options for name in option.names]
            rows |= {line + " ": [*command.below]} if command.below else {}
            rows |= {f"{line} " + "p.kp " * at: ["vadd"] for at, name in enumerate(command.positionals) if "KERNEL]" in name or name.startswith("KERNEL") and at}
            for option in command.options:
                again |= {f"{line} {option.names[-1]} vax {option.names[-1][:-1]}": (option, names[line])} if option.value else {}
                answer = option.words or (["vadd"] if option.value == "DIR" else ["vadd", "vax"])
                rows |= {f"{line} {name} " + "va" * (not option.words): answer for name in option.names if option.value not in ("", "NAME")}
        for shell, script in SCRIPTS.items():
            expected = rows | {line + " -": {*own, *names["kp"] * (shell == "fish")} for line, own in names.items()}
            for line, (option, own) in again.items():  # zsh offers once what may be given once
                gone = option.names if shell == "zsh" and not option.isRepeated else []
                expected[line] = [name for name in own if name.startswith(line.split()[-1]) and name not in gone]
            answers = dict(zip(expected, shells.completed(shell, script, expected, self.environment)))
            self.assertEqual({line: sorted(answer) for line, answer in expected.items()}, answers, shell)
            told = Path(script).read_text().replace("'\\''", "'").replace("\\", "")
            for text in {text for command in self.commands for text in (*command.below.values(), *(each.text for each in command.options))}:
                self.assertTrue(text in told or shell == "bash", text)

    def test_bash_completes_names_and_quotes_them(self):
        script = ('source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); compopt() { :; }; _kp; '
                  'printf "%s\\n" "${COMPREPLY[@]}"')
        os.makedirs("vadd/two words")
        odd = "a $(touch hit)`touch hit`'!.txt"
        for name in (odd, "a\nb.txt", "a:b=c.txt"):
            Path("vadd/src", name).touch()
        self.add("p q.kp", "--debug-dir", "vadd/src", "-q")
        self.expect(["add", "--no-lint", "--cpu-source", "vadd/src/vadd.cpp", "--", "p q.kp", self.derive("./-k")], 0)
        debug, quoted = "vadd/debug/", "vadd/debug/a\\ \\$\\(touch\\ hit\\)\\`touch\\ hit\\`\\'\\!.txt"
        rows = [(["-q", "kernel", "show", "--j"], "--json"),
                (["validate", "p.kp", "--target", "=", "hw_"], "hw_emu"), (["add", "list", "--la"], "--layout"),
                (["extract", "p.kp", "-d", "vadd/tw"], "vadd/two words"), (["add", "p.kp", ""], ""),
                (["-q", "extract", "~/p\\ q.kp", "--force", ""], "vadd"), (["customize", "--name", "x", "'p q.kp'", "v"], "vadd"),
                (["cat", '"p q.kp"', debug + "a\\ "], quoted), (["cat", "p\\ q.kp", "'" + debug + "a "], ""),
                (["cat", '"p q.kp"', '"' + debug + "a "], ""), (["cat", "p\\ q.kp", debug + "a", ":", "b"], "b=c.txt"),
                (["cat", "--", "p\\ q.kp", "vadd/k"], "vadd/kernel.xml"), (["cat", "p\\ q.kp", "vadd/kernel.xml", ""], ""),
                (["extract", "$(touch\\ hit)", ""], ""), (["files", "none.kp", "v"], ""), (["extract", "p\\ q.kp", "-d", "v"], "vadd"),
                (["remove", "p\\ q.kp", "--dry-run", "v"], "vadd"), (["help", "ker"], "kernel"), (["help", "kernel", "r"], "report"),
                (["remove", "--", "p\\ q.kp", ""], "vadd\n-k")]
        for words, expected in rows:
            completed = subprocess.run(["bash", "-c", script, SCRIPTS["bash"], "kp", *words], capture_output=True, text=True, env=self.environment)
            self.assertEqual((expected + "\n", ""), (completed.stdout, completed.stderr), words)
        self.assertFalse(os.path.exists("hit"))
        # What fish asks for: whether a name belongs there.
        self.assertEqual([(0, "vadd\n", ""), (1, "", "")], [run("__complete", "files", *words) for words in (["p q.kp", ""], [""])])
