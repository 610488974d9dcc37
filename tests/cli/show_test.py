"""What kp shows to people: the pages of show, the table of list, and what programs get instead."""

import json
import os
import re
import subprocess
import unicodedata
import zipfile
from pathlib import Path

import jsonschema
import pictures
from kp_case import HERE, KP, KpCase, OnTerminal, run

TREE = HERE.parents[1]
SCHEMA = jsonschema.Draft202012Validator(json.loads((TREE / "docs/show.schema.json").read_text()))
UTF8 = {"LC_ALL": "C.UTF-8"}


def columns(line):
    """How many a terminal takes for a line."""
    return sum(0 if unicodedata.combining(c) else 2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in line)


def on_screen(width, *arguments, **environment):
    """What kp writes to a terminal of a width."""
    status, _, shown = OnTerminal(*arguments, width=width, KP_PROGRESS_DELAY="", **UTF8, **environment).finish()
    return status, shown.replace("\r\n", "\n")


class ShowTest(KpCase):
    def shown(self, *arguments, width=80, **environment):
        """The page, whose lines fit the width and are fit for a terminal."""
        status, out, err = run("show", *arguments, **{**UTF8, "COLUMNS": str(width), **environment})
        self.assertEqual((0, ""), (status, err), arguments)
        for line in out.splitlines():
            self.assertLessEqual(columns(line), width, line)
            self.assertFalse([c for c in line if unicodedata.category(c) in ("Cc", "Cf", "Zl", "Zp")], line)
        return out

    def described(self, *arguments):
        """The JSON, which the schema describes."""
        status, out, err = run("show", *arguments, "--json")
        self.assertEqual((0, ""), (status, err), arguments)
        SCHEMA.validate(json.loads(out))
        return json.loads(out)

    def test_the_example_at_80_columns(self):
        self.expect(["add", "vadd.kp", "vadd/kernel.xml", "--ip", "vadd/ip", "--report", "vadd/design.xml", "--cpu-source", "vadd/src/vadd.cpp"],
                    0, SOURCE_DATE_EPOCH="1580000000")
        shown, files, rest = on_screen(80, "show", "vadd.kp")[1].partition("\n\x1b[1mFiles: ")
        as_deflated = r">[\d.]+ KiB, 11 files|sha256:[\da-f…]+"
        self.assertEqual(re.sub(as_deflated, "", (TREE / "docs/pictures/show.svg").read_text()),
                         re.sub(as_deflated, "", "\n".join(pictures.terminal_picture(shown))))
        self.assertTrue(rest.endswith("\n\n\x1b[1mLint\x1b[0m\n  \x1b[32mclean\x1b[0m\n"), rest)
        plain = self.shown("vadd.kp", LC_ALL="C")
        self.assertTrue(plain.isascii())
        self.assertIn("  | `-requests_u  vadd_walker    72  #            64     24  met 1.64/3.5\n", plain)
        of_kernel = self.shown("vadd.kp", "VADD")
        alone = self.shown("vadd/kernel.xml")
        self.assertIn(alone[alone.index("\nPorts\n"):alone.index("\nFigures")], of_kernel)
        piped = Path("vadd/kernel.xml").read_text()
        self.assertEqual((0, alone.replace("vadd/kernel.xml", "/dev/stdin"), ""),
                         run("show", "-", stdin=piped, COLUMNS="80", **UTF8))
        self.assertEqual((0, "vadd: unchecked: no IP is given; nothing was held against it [ip-missing]\n", ""),
                         run("lint", "-", stdin=piped))
        done = subprocess.run(f"{KP} show - <vadd.kp", shell=True, capture_output=True, text=True)
        self.assertIn("'/dev/stdin' is a package and no XML document; 'kp info' shows", done.stderr)
        self.assertEqual((3, 2, 2), (run("show", "-")[0], run("show", "-", "vadd")[0], run("lint", "-", "--report", "-")[0]))
        self.assertTrue(alone.endswith("none: the description carries no report\n\nLint\n  unchecked: no IP is given; "
                                       "nothing was held against it [ip-missing]\n"), alone)

        kernel = self.described("vadd.kp")["kernels"][0]
        self.assertEqual(os.path.getsize("vadd.kp"), self.described("vadd.kp")["package"]["size"])
        self.assertEqual({"id": 3, "name": "length", "type": "uint", "passing": "value", "port": "s_control",
                          "offset": 0x34, "size": 4, "hostOffset": 0, "hostSize": 4}, kernel["description"]["arguments"][3])
        self.assertEqual(["control", *["pointer", "gap"] * 3, "value", "gap"],
                         [each["use"] for each in kernel["description"]["addressMaps"][0]["stretches"]])

    def test_a_little_of_everything(self):
        self.add_odd()
        page = re.sub(r"(Size +)[\d.]+ KiB,", r"\g<1>9.9 KiB,", self.shown("odd.kp").partition("\nLint\n")[0])  # as deflated here
        self.assertEqual((HERE / "show-odd.txt").read_text(), re.sub(r"(sha256:|:s)[\da-f…]+", r"\1...", page))
        description = self.described("odd.kp")["kernels"][0]["description"]
        self.assertEqual(["wide", "there"], [description["ports"][6]["range"], description["arguments"][9]["offset"]])
        self.assertEqual([("gap", 0, False), ("value", 2, False), ("value", 1, True)],
                         [(each["use"], each["shared"], each["isBeyond"]) for each in
                          (description["addressMaps"][0]["stretches"][at] for at in (0, 2, 6))])
        for lut, most, bars in ((0, "even, 5", 0), ("+1", "even, 5 of 1 (500%)", 3)):
            page = self.shown(self.change(HERE / "odd.xml", ("<FF>1</FF><URAM>", f"<FF>1</FF><LUT>{lut}</LUT><URAM>"), into="k.xml"))
            self.assertIn(f"\n  Most LUT   {most}\n", page)
            self.assertEqual(bars, page.count("  " + "█" * 10 + " "))
        for version, told in ((b'SoftwareVersionMajor="1"', " by software 1.0"), (b'SoftwareVersionMinor="1"', " by software 0.1"),
                              (b"", ", it does not say by what")):
            package = self.rewrite("odd.kp", {"kp.xml": lambda data: re.sub(b'SoftwareVersionMajor.* ', version + b" ", data)})
            self.assertIn(f" UTC{told}\n", self.shown(package))
        self.add("k.kp", "--layout", "kernel")
        self.assertEqual(sorted(zipfile.ZipFile("k.kp").namelist())[1:],
                         sorted(file["name"] for file in self.described("k.kp")["kernels"][0]["files"]))

    def test_where_room_is_lacking_columns_are_left_out_and_texts_shortened(self):
        long = "_" + "x" * 30
        text = re.sub(r' (name|port|type)="(\w+)(\*?)"', rf' \1="\2{long}\3"', Path("vadd/kernel.xml").read_text())
        Path("d.xml").write_text(re.sub(r"(vadd_?\w*|[a-z]+_u)\b(?=[<.,])", rf"\1{long}", Path("vadd/design.xml").read_text()))
        for name in "vadd", "other":
            Path("k.xml").write_text(text.replace('name="vadd_', f'name="{name}_', 1))
            self.expect(["add", "p.kp", "k.xml", "--ip", "vadd/ip", "--report", "d.xml", "--cpu-source", "vadd/src/vadd.cpp",
                         "--hls-dir", "vadd/src", "--project", "i" * 2000, "--no-lint", "-q"], 0)
        narrowest = {}  # width that has a column, by the first words of the table
        for width in range(100, 19, -1):
            screen = "\n\nList\n" + on_screen(width, "list", "p.kp", NO_COLOR="1")[1] if width < 70 else ""
            for block in (self.shown("p.kp", width=width) + self.shown("p.kp", "vadd" + long, width=width) + screen).split("\n\n"):
                title, columns, *_ = [*block.lstrip("\n").splitlines(), ""]
                narrowest |= {(title.split()[0], column): width for column in columns.split() + ["bar"] * ("█" in block)}
        rows = {"2": dict(SLICE=91, FF=84, IP=79, Flows=63, LUT=45, Timing=40), "Ports": dict(Base=55, Range=49, Bits=41), "List": dict(Flows=40),
                "Address": dict(Size=46), "Arguments": dict(Id=57, Type=53, Size=43, Offset=37), "FIFOs": dict(Running=52, In=43),
                "Instances,": dict(SLICE=70, FF=63, Timing=58, Module=43, bar=31), "Files:": dict(Part=45)}
        self.assertEqual(rows, {title: {column: narrowest[title, column] for column in columns} for title, columns in rows.items()})
        for text in ("\nKernel vadd_xxxxxxxxxxx…xxxxxxxxxxxxxxxx\n  VLNV       example:kernels:vadd:1.0\n", "\n  IP         ip_repo/examp…nels_vadd_1_0\n"
                     f"  Project    {'i' * 27}\n             {'i' * 27}\n", "\n  Described  vadd_xxxxxxxx…xx/kernel.xml\n",
                     "\nAddress map of s_con…xxxxxxxxxxxx, 4 KiB\n", "\n  Latency    best 12 cycles, 48.00 ns;\n             average undef; worst undef\n"):
            self.assertIn(text, self.shown("p.kp", "vadd" + long, width=40))
        for stated, width in (("1", 20), ("19", 20), ("1001", 1000), ("0", 80), ("", 80), ("8x", 80), ("x", 80), ("99999999999999999999", 80)):
            shown = run("show", "p.kp", "vadd" + long, **UTF8, COLUMNS=stated)[1]
            self.assertEqual([width == other for other in (20, 21, 80, 999, 1000)], [
                shown == self.shown("p.kp", "vadd" + long, width=other) for other in (20, 21, 80, 999, 1000)], stated)
        self.assertEqual(self.shown("p.kp"), on_screen(0, "show", "p.kp", NO_COLOR="1")[1])

    def test_many_kernels_are_a_table_whatever_their_names(self):
        names = ["x" * 200, "計算" * 20, "e\u0301" * 40, "re\u202everse", "\u200bo" + "\u0302" * 10, "two\nlines\x9b2J", "ünï"]
        self.add("p.kp", "--report", "vadd/design.xml")
        for name in names:
            self.change("vadd/kernel.xml", ('name="vadd"', 'name="' + name.replace("\n", "&#10;") + '"'), into="k.xml")
            self.expect(["add", "p.kp", "k.xml", "--cpu-source", "vadd/src/vadd.cpp", "--no-lint"], 0)
        table = """
8 kernels
  Name                    LUT  Timing        Lint
  vadd                    655  met 2.92/3.5  clean
  xxxxxxxxxxx…xxxxxxxxxx    -  -             clean
  計算計算計…算計算計算     -  -             1 error
  E…E    -  -             1 error
  re\\u202everse             -  -             1 error
  \\u200boO\\u0302\\u0302       -  -             1 error
  two\\x0alines\\xc2\\x9b2J    -  -             1 error
  ünï                       -  -             1 error
""".replace("oO", "o" + "\u0302" * 8).replace("E…E", "e\u0301" * 11 + "…" + "e\u0301" * 10)
        self.assertEqual(table, self.shown("p.kp", width=52)[-len(table):])
        self.assertIn('"ünï"', run("list", "p.kp", "--json")[1])
        kernels = self.described("p.kp")["kernels"]
        self.assertEqual(["vadd", *names], [kernel["name"] for kernel in kernels])
        for name in names:
            self.shown("p.kp", name, width=40)

        status, screen = on_screen(36, "list", "p.kp", NO_COLOR="1")
        self.assertEqual((0, ["Name                  Flows      Has", "vadd                  hw_emu,hw  rtl"]),
                         (status, screen.splitlines()[:2]))
        self.assertIn("\x1b[", on_screen(36, "list", "p.kp")[1])
        self.assertNotIn("\x1b", on_screen(36, "list", "p.kp", TERM="dumb")[1])
        coloured = on_screen(50, "show", "p.kp", "vadd")[1]
        self.assertEqual(self.shown("p.kp", "vadd", width=50), re.sub("\x1b\\[[0-9]*m", "", coloured))
        self.assertIn("\x1b[32mmet: ", coloured)

    def test_more_than_eyes_or_memory_take(self):
        text = Path("vadd/kernel.xml").read_text()
        argument, port = (re.search(f' *<{kind} name="{name}".*\n', text)[0] for kind, name in (("arg", "length"), ("port", "s_control")))
        Path("k.xml").write_text(text.replace(argument, argument * 300).replace(port, "".join(port.replace("s_control", f"s{at}") for at in range(300))))
        page = self.shown("k.xml")
        self.assertEqual([100, 4], [len(re.findall(pattern, page, re.M)) for pattern in ("^Address map", "^  … and [0-9]+ more$")])
        self.assertLess(len(page.splitlines()), 1000)
        # A manifest may name one directory many times.
        self.add("p.kp")
        kernel = re.compile(b"( *<Kernel )(.*?</Kernel>\n)", re.S)

        def naming(times):
            return lambda manifest: kernel.sub(lambda found: b"".join(
                found[1] + found[2].replace(b'Name="vadd"', b'Name="vadd%d"' % at) for at in range(times)), manifest)

        package = self.rewrite("p.kp", {"vadd/kernel.xml": lambda data: data.ljust((8 << 20) + 1), "kp.xml": naming(64)})
        refused = (3, "", "kp: error: The kernels of 'changed.kp' have more to show than can be held at once; ask for one of them\n")
        self.assertEqual(refused, run("show", package))
        self.assertIn("\nKernel vadd9\n", self.shown(package, "vadd9"))
        with zipfile.ZipFile("p.kp", "a") as package:
            for at in range(2100):
                package.writestr(f"vadd/{at}", "")
        self.assertEqual(refused, run("show", self.rewrite("p.kp", {"kp.xml": naming(1000)})))

    def test_of_what_is_damaged_the_rest_is_shown(self):
        self.add("p.kp")
        self.expect(["add", "p.kp", self.derive("other"), "--cpu-source", "vadd/src/vadd.cpp", "-q"], 0)
        package = self.rewrite("p.kp", {"other/kernel.xml": lambda data: data.replace(b"<args>", b"<arg>")})
        page = self.shown(package)
        self.assertIn("\n  Digest     missing: the package was never sealed\n", page)
        self.assertRegex(page, r"\n  vadd   hw_emu,hw  example:kernels:vadd:1.0 .* clean\n  other  sw_emu .* UNREADABLE\n")
        problem = "element 'arg' is not known in 'kernel'"
        self.assertIn("319 B  other/cpu_sources/vadd.cpp\n", self.shown(package, "other"))
        self.assertRegex(self.shown(package, "other"), r"\n  UNREADABLE .*" + problem)
        kernel = self.described(package, "other")["kernels"][0]
        self.assertEqual((None, "[17-132] other/kernel.xml:9: " + problem), (kernel["description"], kernel["problem"]))
        self.rewrite("p.kp", {"kp.xml": lambda data: data[:-9]})
        Path("broken.xml").write_text("<root")
        for status, *arguments in ((3, package), (3, "broken.xml"), (3, "vadd"), (3, "p.kp", "none"),
                                   (2, "vadd/kernel.xml", "vadd")):
            done = run("show", *arguments)
            self.assertEqual((status, "", True), (done[0], done[1], done[2].startswith("kp: error: ")), arguments)
        self.assertEqual((3, "", "kp: error: File not found: 'none.kp'\n"), run("show", "none.kp"))
