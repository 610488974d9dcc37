#!/usr/bin/env python3
"""usage: tools/doors.py [ROOMS]

Holds every include of the rooms and of the command against the rooms' doors. ROOMS is what configuring writes,
build/release/rooms.txt unless given: a line each with a room's name, the rooms that it may include, its sources, its own
headers and those that are internal to the project. Exits 1 when a source includes a room that is not below its own, a
header that is another room's own, an installed header one that is not installed, or when files include each other in a
circle.
"""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
INCLUDE = re.compile(r'^#include "(.+)"$', re.MULTILINE)


def included(source):
    """The project's files that a source includes."""
    for name in INCLUDE.findall(source.read_text()):
        for root in (ROOT, ROOT / "shared/common"):
            if (root / name).exists():
                yield root / name


def circles(sources):
    """Circles of units, each a header with the source of its name."""
    unit = {source: source.with_suffix("") for source in sources}
    uses = {}
    for source in sources:
        uses.setdefault(unit[source], set()).update(
            unit[header] for header in included(source) if header in unit and unit[header] != unit[source])
    state, path, found = {}, [], []

    def visit(node):
        state[node] = "open"
        path.append(node)
        for below in sorted(uses.get(node, ())):
            if state.get(below) == "open":
                found.append(path[path.index(below):] + [below])
            elif below not in state:
                visit(below)
        path.pop()
        state[node] = "done"

    for node in sorted(uses):
        if node not in state:
            visit(node)
    return found


def main():
    table = Path(sys.argv[1] if len(sys.argv) > 1 else ROOT / "build/release/rooms.txt")
    rooms, owner, own, internal = {}, {}, set(), set()
    for line in table.read_text().splitlines():
        name, *lists = line.split("|")
        closure, sources, own_headers, internal_headers = ([item for item in text.split(";") if item] for text in lists)
        rooms[name] = set(closure)
        owner.update({Path(source): name for source in sources})
        own.update(map(Path, own_headers))
        internal.update(map(Path, internal_headers))
    rooms["cli"] = set(rooms) | {"cli"}
    owner.update({source: "cli" for source in (ROOT / "cli").rglob("*.[ch]*") if source.suffix in (".h", ".cpp")})

    complaints = []
    for source, room in owner.items():
        isInstalled = source.suffix == ".h" and room != "cli" and source not in own | internal
        for header in included(source):
            place = f"{source.relative_to(ROOT)}: {header.relative_to(ROOT)}"
            if header not in owner:
                complaints.append(f"{place} belongs to no room")
            elif owner[header] not in rooms[room]:
                complaints.append(f"{place} is of the room {owner[header]}, which {room} does not use")
            elif header in own and owner[header] != room:
                complaints.append(f"{place} is the room {owner[header]}'s own")
            elif isInstalled and header in own | internal:
                complaints.append(f"{place} is not installed")
    for circle in circles(list(owner)):
        complaints.append("circle: " + " -> ".join(str(unit.relative_to(ROOT)) for unit in circle))
    print("\n".join(complaints) or f"doors: {len(owner)} sources of {len(rooms)} rooms without a finding")
    return 1 if complaints else 0


sys.exit(main())
