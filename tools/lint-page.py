#!/usr/bin/env python3
"""Prints docs/lint.md, made from the table of rules that the command has.

usage: tools/lint-page.py [KP] >docs/lint.md
"""

import json
import subprocess
import sys
import textwrap
from pathlib import Path

INTRODUCTION = """# Rules of lint

What `kp lint` and `kp add` look for. A code never changes its meaning. An `error` lets the link or the host program
fail, or reach wrong data; a `warning` is likely a mistake. What cannot be decided is told as unchecked, with the
reason, and is not known to be good: an expression of a component that cannot be worked out, a source that is encrypted
or made by a tool, a module whose header takes macros.

Each example is a mistake in the example kernel, `examples/vadd`; the line below it is what lint prints then, and
` ... ` is any text between. `tools/lint-page.py` makes this page from the table of the rules."""


def section(rule):
    example = rule["example"]
    finding = f"{example['place']}: {rule['severity']}: {example['finding']} [{rule['code']}]"
    where = f", in `{example['document']}`" if example["document"] else ""
    return [f"## {rule['code']}", f"*{rule['severity'].capitalize()}*: {rule['meaning']}.",
            textwrap.fill(f"{rule['explanation']} {rule['cure']}", 120),
            f"Wrong{where}:\n\n    {example['wrong']}\n    {finding}", f"Right:\n\n    {example['right']}"]


def main():
    kp = sys.argv[1] if len(sys.argv) > 1 else Path(__file__).resolve().parent.parent / "build/release/bin/kp"
    rules = json.loads(subprocess.check_output([kp, "lint", "--rules", "--json"]))
    rows = [f"| [`{rule['code']}`](#{rule['code']}) | {rule['severity']} | {rule['meaning']} |" for rule in rules]
    table = "\n".join(["| Code | Severity | Found when |", "|---|---|---|", *rows])
    print("\n\n".join([INTRODUCTION, table, *(block for rule in rules for block in section(rule))]))


if __name__ == "__main__":
    main()
