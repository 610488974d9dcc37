"""Power is lost at every moment of each operation that changes a package or a document, on a disk that keeps only what was
synced and of the rest whatever it likes: what is at the path is the old file or the new one, and once the operation was
reported done it is the new one."""

import itertools
import os
import random
import re
import subprocess
import unittest
from collections import namedtuple
from pathlib import Path

from disaster_case import ADD, CAN_TRACE, DisasterCase, contents, litter, trace
from kp_case import EXAMPLES, KP

CALLS = ("openat,write,pwrite64,writev,pwritev,ftruncate,fallocate,copy_file_range,sendfile,fsync,fdatasync,rename,renameat,"
         "renameat2,link,linkat,symlink,symlinkat,unlink,unlinkat,mkdir,mkdirat,rmdir")
HEX = r"(?:\\x[0-9a-f]{2})*"
ARGUMENT = re.compile(rf'"({HEX})"|(?:AT_FDCWD|\d+)<({HEX})>|\[?(-?[A-Z0-9_|x]+)\]?')
BLOCK = 512

Call = namedtuple("Call", "name given result")


def parsed(line):
    """A line of the trace: texts as bytes, descriptors as the paths behind them, numbers and flags as they are written."""
    name, given, result = re.fullmatch(r"(?:\d+ +)?(\w+)\((.*)\)\s+= (-?\d+).*", line).groups()

    def decoded(text):
        return bytes.fromhex(text.replace("\\x", ""))

    return Call(name, [decoded(text) if text is not None else decoded(path).decode() if path is not None else plain
                       for text, path, plain in (match.groups() for match in ARGUMENT.finditer(given))], int(result))


def files():
    return {path: content for path, content in contents().items() if content is not None and "scratch/" not in path}


class File:
    """What is on the disk for certain, and the writes since, as offsets and bytes."""

    def __init__(self, content=b""):
        self.synced, self.changes = content, []

    def content(self, changes, zeros=False):
        content = bytearray(self.synced)
        for offset, data in changes:
            content.extend(bytes(max(0, offset + len(data) - len(content))))
            content[offset:offset + len(data)] = bytes(len(data)) if zeros else data
        return bytes(content)

    def now(self):
        return self.content(self.changes)

    def sync(self):
        self.synced, self.changes = self.now(), []

    def after_loss(self, chance):
        """Nothing or all of the changes, the first of them, zeros instead, a file torn at any block, mixtures of blocks."""
        whole, zeros = self.now(), self.content(self.changes, zeros=True)
        torn = [text for at in range(0, len(whole), BLOCK) for text in (whole[:at], whole[:at] + zeros[at:])]
        mixed = [b"".join(chance.choice((whole, zeros))[at:at + BLOCK] for at in range(0, len(whole), BLOCK)) for _ in range(4)]
        some = [self.content(self.changes[:count]) for count in range(len(self.changes))]
        return sorted({whole, *torn, *mixed, *some}) if self.changes else [whole]


class Disk:
    """The working directory: its names as they are seen, as they are synced, and the changes of names in between."""

    def __init__(self, present):
        self.names = {path: File(content) for path, content in present.items() if content is not None}
        self.synced, self.changes = dict(self.names), []

    def change(self, changes):
        self.changes.append(([self.names.get(path) for path in changes], changes))
        self.put(self.names, changes)

    @staticmethod
    def put(names, changes):
        for path, file in changes.items():
            names.pop(path, None)
            if file is not None:
                names[path] = file

    def sync(self, path):
        if path in self.names:
            self.names[path].sync()
            return
        for before, changes in [entry for entry in self.changes if path in {os.path.dirname(name) or "." for name in entry[1]}]:
            self.put(self.synced, changes)
            self.changes.remove((before, changes))

    def after_loss(self, chance):
        """What may be there: any of the changes of names that fit what is there without the others."""
        for chosen in itertools.product((False, True), repeat=len(self.changes)):
            names = dict(self.synced)
            for (before, changes), is_kept in zip(self.changes, chosen):
                if is_kept and [names.get(path) for path in changes] == before:
                    self.put(names, changes)
            found = {path: file.after_loss(chance) for path, file in names.items()}
            for number in range(max(map(len, found.values()), default=1)):
                yield {path: contents[number % len(contents)] for path, contents in found.items()}


def played(disk, call, home):
    """The change that a call made to the disk."""
    name, given, result = call

    def path(directory, below=b""):
        return os.path.relpath(os.path.normpath(os.path.join(directory, below.decode())), home)

    if name == "openat":
        assert "O_EXCL" in given[2], call
        disk.change({path(*given[:2]): File()})
    elif name == "pwrite64":
        disk.names[path(given[0])].changes.append((int(given[3]), given[1][:result]))
    elif name == "copy_file_range":
        source, begin = disk.names[path(given[0])].now(), int(given[1])
        disk.names[path(given[2])].changes.append((int(given[3]), source[begin:begin + result]))
    elif name in ("fsync", "fdatasync"):
        disk.sync(path(given[0]))
    elif name in ("renameat", "renameat2"):
        old, new = path(*given[:2]), path(*given[2:4])
        disk.change({old: None, new: disk.names[old]})
    else:
        assert name == "unlinkat", call
        disk.change({path(*given[:2]): None})


@unittest.skipUnless(CAN_TRACE, "no process can be traced here")
class PowerLossTest(DisasterCase):
    def changes_by(self, operation):
        """The calls of a run that change something in the working directory, or would if it were not synced."""
        log = "../trace"
        subprocess.run([*trace(CALLS, log, "-f", "-xx", "-s", "100000000"), KP, "-q", *operation], env=self.environment, check=True)
        calls = [parsed(line) for line in Path(log).read_text().splitlines()]
        return [call for call in calls if call.result >= 0 and (call.name != "openat" or "O_CREAT" in call.given[2])
                and not any(re.search("scratch|^pipe:", os.fsdecode(given)) for given in call.given[:2])]

    def states(self, old, calls, skipped=None):
        """What may be there after a loss of power before each call and after the last; with it whether that was the last."""
        disk, chance, home = Disk(old), random.Random(1), os.getcwd()
        for number, call in enumerate(calls):
            yield from ((False, state) for state in disk.after_loss(chance))
            if number != skipped:
                played(disk, call, home)
        yield from ((True, state) for state in disk.after_loss(chance))

    def is_sound(self, state, old, new, is_done):
        kept = {path: content for path, content in state.items() if path not in litter(state)}
        return kept == new or (kept == old and not is_done)

    def continue_after(self, state, operation, new):
        """The next command works on what is left, and removes what is not complete."""
        self.restore({"scratch": None, **{os.path.dirname(path): None for path in state if "/" in path}, **state}, settles=False)
        if "p.kp" in state:
            self.assertEqual("digest: valid\n", self.do("verify", "p.kp"))
        if new != {path: content for path, content in state.items() if path in new}:
            self.do(*operation)
            self.assertEqual(new, files())

    def test_at_every_moment(self):
        customize = ["customize", "p.kp", "vadd", "--name", "wide", "-o", "./p.kp", "--replace-ip", "--param", "SUM_FIFO_DEPTH=64",
                     "--host-script", EXAMPLES + "/host/host.tcl", "--board", "heron"]
        author = ["kernel", "new", "../vadd/ip", "--prototype", "void f(int* a, unsigned length)", "--connect", "a=m_read",
                  "-o", "kernel.xml"]
        for *prepared, operation in (*self.changes(), [ADD, customize], [author]):
            with self.subTest(operation=operation):
                self.prepare(prepared)
                old = files()
                calls = self.changes_by(operation)
                new = files()
                unlike, count = {}, 0
                for is_done, state in self.states(old, calls):
                    self.assertTrue(self.is_sound(state, old, new, is_done), (sorted(state), is_done))
                    unlike[tuple((path, len(content) if path in litter(state) else content) for path, content in state.items())] = state
                    count += 1
                for state in unlike.values():
                    self.continue_after(state, operation, new)
                syncs = [number for number, call in enumerate(calls) if call.name in ("fsync", "fdatasync")]
                self.assertLessEqual(2, len(syncs))
                for sync in syncs:  # none of them goes unnoticed when it is left out
                    self.assertFalse(all(self.is_sound(state, old, new, is_done)
                                         for is_done, state in self.states(old, calls, sync)), calls[sync])
                print(f"{count} losses of power, {len(unlike)} states, {len(syncs)} syncs: kp {' '.join(operation)}", flush=True)
