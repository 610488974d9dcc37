#!/usr/bin/env python3
"""usage: mutants.py NUMBER SEED FILE...

Prints random single faults in sources of C++, as file, line number, what was done and the line with the fault, between tabs.
Each place is as likely as any other. Comments, texts and preprocessor lines are left alone."""

import random
import re
import sys
from pathlib import Path

TURNED = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&", "+": "-", "-": "+",
          "+=": "-=", "-=": "+=", "*": "/", "++": "--", "--": "++", "true": "false", "false": "true", "break": "continue"}
FAULTS = [
    (r"(?<= )(<|<=|>|>=|==|!=|&&|\|\||\+|-|\*|\+=|-=)(?= )", lambda match: TURNED[match[0]]),
    (r"\+\+(?=\w)|--(?=\w)|\b(true|false)\b|\bbreak\b(?=;)", lambda match: TURNED[match[0]]),
    (r"(?<![\w=!])!(?=[\w(])", lambda match: ""),
    (r"(?<=\bif )\((?!const|auto)(?:[^()]|\((?:[^()]|\([^()]*\))*\))*\)", lambda match: f"(!{match[0]})"),
    (r"(?<![\w.'\"])\d+(?![\w.'])", lambda match: str(int(match[0]) + 1)),
    (r"^\s+(?!return|throw|co_|delete|using|static_assert|case|default)[\w:.>*()-]+\([^{}]*\);$", lambda match: ";"),
    (r"(?<=return )[^;{]*[^;{\s](?=;$)", lambda match: "{}"),
]
HIDDEN = re.compile(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])+\'|//.*')


def faults(path):
    for number, line in enumerate(Path(path).read_text().splitlines(), 1):
        if line.lstrip().startswith(("#", "//")):
            continue
        seen = HIDDEN.sub(lambda match: "\x01" * len(match[0]), line)
        for pattern, fault in FAULTS:
            for match in re.finditer(pattern, seen):
                match = re.compile(".*").match(line, *match.span()) if "\x01" in match[0] else match
                changed = line[:match.start()] + fault(match) + line[match.end():]
                yield path, number, f"{line.strip()}  ->  {changed.strip()}", changed


number, seed, *paths = sys.argv[1:]
every = [fault for path in sorted(paths) for fault in faults(path)]
for fault in random.Random(int(seed)).sample(every, min(int(number), len(every))):
    print(*fault, sep="\t")
