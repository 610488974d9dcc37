"""Lint as a user and as continuous integration meet it, by itself and when a kernel is added."""

import json
import os
import subprocess
import zipfile
from pathlib import Path
from urllib.parse import unquote_to_bytes

from kp_case import HERE, KP, KpCase, run

TREE = HERE.parents[1]
WHOLE = ["vadd/kernel.xml", "--ip", "vadd/ip", "--report", "vadd/design.xml"]


class LintTest(KpCase):
    def test_text_and_json(self):
        self.expect(["lint", *WHOLE], 0)
        self.add("p.kp")
        self.expect(["lint", "p.kp", "VADD", "--json"], 0, '{\n  "findings": [],\n  "unchecked": []\n}\n')
        self.change("vadd/kernel.xml", ('offset="0x34"', 'offset="0xFFE"'))
        error = "argument 'length' ends at 0x1002, beyond the 0x1000 bytes of its port 's_control'"
        status, out, _ = run("lint", "vadd/kernel.xml")
        self.assertEqual((1, f"vadd/kernel.xml:13: error: {error} [beyond-range]"), (status, out.splitlines()[0]))
        self.assertEqual("vadd: unchecked: no IP is given; nothing was held against it [ip-missing]",
                         out.splitlines()[-1])
        finding = json.loads(run("lint", *WHOLE, "--format", "json")[1])["findings"][0]
        self.assertEqual(["beyond-range", "error", "vadd", "vadd/kernel.xml", 13, error],
                         [finding[key] for key in ("code", "severity", "kernel", "document", "line", "text")])
        self.change("vadd/kernel.xml", ('offset="0xFFE"', 'offset="0x34"'), ('interrupt="false"', 'interrupt="no"'))
        self.assertEqual([0, 1], [run("lint", *WHOLE, *strict)[0] for strict in ([], ["--strict"])])
        self.assertEqual(len(run("lint", "--rules")[1].splitlines()), len(json.loads(run("lint", "--rules", "--json")[1])))
        self.change("vadd/kernel.xml", ("<ports>", "<prots>"), ("</ports>", "</prots>"))
        self.expect(["lint", *WHOLE], 3, "",
                    "kp: error: [17-132] vadd/kernel.xml:4: element 'prots' is not known in 'kernel'\n")
        self.expect(["lint", "none"], 3, "", "kp: error: File not found: 'none'\n")
        for wrong in (["lint"], ["lint", "vadd/kernel.xml", "vadd"], ["lint", "p.kp", "--ip", "vadd/ip"],
                      ["lint", "p.kp", "--report", "vadd/design.xml"]):
            self.assertEqual(2, run(*wrong)[0], wrong)

    def sarif(self, *arguments):
        """A run of lint, and its results as lines of text."""
        status, out, err = run("lint", *arguments, "--format", "sarif")
        self.log, lines = json.loads(out), []
        (self.run,), rules = self.log["runs"], self.log["runs"][0]["tool"]["driver"]["rules"]
        self.uris = [artifact["location"]["uri"] for artifact in self.run["artifacts"]]
        for each in self.run["results"]:
            (location,), place = each["locations"], each["locations"][0]["physicalLocation"]
            self.assertEqual((each["ruleId"], [{"name": "vadd", "kind": "module"}]), (rules[each["ruleIndex"]]["id"], location["logicalLocations"]))
            uri, line = place["artifactLocation"]["uri"], place.get("region", {"startLine": 0})["startLine"]
            self.assertEqual(uri, self.uris[place["artifactLocation"]["index"]])
            self.assertRegex(uri, r"\A(file://)?([\w./~-]|%[0-9A-F]{2})+\Z")
            lines.append(f"{uri}{f':{line}' if line else ''}: {each['level']}: {each['message']['text']} [{each['ruleId']}]")
        return status, err, lines

    def test_sarif(self):
        self.assertEqual((0, "", []), self.sarif(*WHOLE))
        self.change("vadd/kernel.xml", ('offset="0x34"', 'offset="0x1000"'), ("false", "no"))
        for arguments in (WHOLE, [os.path.abspath("vadd/kernel.xml")], ["p.kp"]):
            if arguments == ["p.kp"]:
                self.assertEqual(0, run("add", "p.kp", *WHOLE)[0])
            text = run("lint", *arguments)[1].splitlines()
            prefix = "file://" if arguments[0].startswith("/") else ""
            self.assertEqual((1, "", [prefix + line for line in text if "unchecked:" not in line]), self.sarif(*arguments))
        self.assertEqual([{"location": {"uri": "p.kp"}}, {"location": {"uri": "vadd/kernel.xml"}, "parentIndex": 0}],
                         self.run["artifacts"])
        self.assertEqual(1, self.sarif("vadd/kernel.xml")[0])
        driver, codes = self.run["tool"]["driver"], json.loads(run("lint", "--rules", "--json")[1])
        self.assertEqual(run("--version")[1].split()[1], driver.pop("version"))
        self.assertEqual([[rule[key] for key in ("code", "meaning", "explanation", "cure", "severity")] for rule in codes], [
            [rule["id"], *(rule[key]["text"] for key in ("shortDescription", "fullDescription", "help")),
             rule["defaultConfiguration"]["level"]] for rule in driver.pop("rules")])
        self.assertEqual(json.loads((HERE / "lint.sarif").read_text()), self.log)
        self.assertEqual(2, run("lint", "--rules", "--format", "sarif")[0])

    def test_hostile_names_are_escaped_in_every_form(self):
        odd = os.fsencode("vadd/ip") + b"/\xff<b>'\"%41\x1b[31m ~"
        Path(os.fsdecode(odd)).touch()
        os.mkdir("vadd/ip/.git")
        Path("vadd/ip/.git/\u009b31m").touch()
        hostile = "x&#10;error: &#155;31m&lt;/script>'"
        self.change("vadd/kernel.xml", ('name="length"', f'name="{hostile}"'), ('type="uint"', f'type="{hostile}*"'))
        self.expect(["add", "p.kp", *WHOLE[:3], "--no-lint"], 0)
        for arguments in (WHOLE, ["p.kp"]):
            text = run("lint", *arguments)[1]
            for line in text.splitlines():
                self.assertRegex(line, r"^[\w./:\\<>'\"%~ \[-]+: (error|warning|unchecked): ")
                self.assertTrue(line.isprintable(), line)
            self.assertIn(r"'x\x0aerror: \xc2\x9b31m</script>''", text)
            self.assertNotIn(":0:", text)
            self.assertEqual(len(text.splitlines()), len(self.sarif(*arguments)[2]))
            self.assertTrue(any(unquote_to_bytes(uri).endswith(odd[7:]) for uri in self.uris), self.uris)

    def test_add_warns_of_errors_and_refuses_when_strict(self):
        self.change("vadd/kernel.xml", ('offset="0x34"', 'offset="0x1000"'), ("false", "no"))
        line = ("vadd/kernel.xml:13: argument 'length' ends at 0x1004, beyond the 0x1000 bytes of its port 's_control' "
                "[beyond-range]\n")
        refused = (f"kp: error: {line}kp: warning: vadd/kernel.xml:3: the interrupt 'no' is neither 'true' nor 'false' "
                   "[interrupt]\nkp: warning: vadd/kernel.xml:13: argument 'length' takes 0x4 bytes at 0x1000, where the IP "
                   "describes no such register; that of its name lies at 0x34 [ip-register]\nkp: error: Kernel 'vadd' is not added: --strict allows no "
                   "finding of lint\n")
        for more in ([], ["--dry-run"]):
            self.expect(["add", "p.kp", *WHOLE, "--strict", *more], 3, "", refused)
            self.assertFalse(os.path.exists("p.kp"))
        self.expect(["add", "quiet.kp", *WHOLE, "-q"], 0)
        self.expect(["add", "p.kp", *WHOLE, "--no-lint"], 0)
        for more in ([], ["--dry-run"]):
            replace = ["add", "p.kp", *WHOLE, "--replace", *more]
            self.expect(replace, 0, run(*replace, "--no-lint")[1], f"kp: warning: {line}")
        before = Path("p.kp").read_bytes()
        self.expect(["add", "p.kp", *WHOLE, "--replace", "--strict"], 3, "", refused)
        self.assertEqual(before, Path("p.kp").read_bytes())
        self.expect(["add", "p.kp", "vadd/kernel.xml", "--update", "--pdi", "vadd/vadd.qmr", "--strict"], 0)
        self.assertEqual(2, run("add", "p.kp", *WHOLE, "--no-lint", "--strict")[0])

    def test_add_counts_what_is_more_than_ten(self):
        head = Path("vadd/ip/hdl/vadd.v").read_text().splitlines()
        for kept, rest in (37, ["kp: warning: ... and 1 more; 'kp lint' tells all"]), (39, []):
            Path("vadd/ip/hdl/vadd.v").write_text("\n".join(head[:kept]).rstrip(",") + "); endmodule\n")
            status, _, err = run("add", f"{kept}.kp", *WHOLE)
            self.assertEqual((0, 10, rest), (status, err.count("[ip-hdl-port]"), err.splitlines()[10:]))

    def test_add_goes_on_where_lint_cannot_look(self):
        os.mkdir("debug")
        os.symlink("nowhere", "debug/x")
        self.expect(["add", "p.kp", *WHOLE, "--debug-dir", "debug", "--layout", "kernel"], 0, "",
                    "kp: warning: lint cannot look at the kernel: 'debug/x' is a symbolic link that leads nowhere\n")

    def test_add_tells_of_the_package_once(self):
        with zipfile.ZipFile("m.kp", "w") as package:
            package.writestr("kp.xml", '<Root VersionMajor="6" VersionMinor="0" New="x" IpCache="no"><Kernels/></Root>')
        status, _, err = run("add", "m.kp", *WHOLE, "--reseal")
        self.assertEqual((0, 1), (status, err.count("'New'")), err)

    def test_the_page_of_rules_is_made_of_the_table(self):
        page = subprocess.run([TREE / "tools/lint-page.py", KP], stdout=subprocess.PIPE, text=True, check=True).stdout
        self.assertEqual(Path(TREE, "docs/lint.md").read_text(), page)
