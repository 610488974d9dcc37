#!/usr/bin/env python3
"""Times kp beside its peers, each pair in turns in one run, and says which of the wanted figures hold.

usage: compare.py BIN_DIRECTORY WORK_DIRECTORY [--quick]

Prints a table of medians. The exit status is 1 when a row falls short; with --quick it judges no figure.
"""

import argparse
import json
import os
import shutil
import statistics
import struct
import subprocess
import sys
import tempfile
import zipfile
from contextlib import contextmanager
from dataclasses import dataclass, field
from pathlib import Path
from typing import Callable, Optional

import make_inputs

MIB = 1 << 20


@dataclass
class Command:
    """A command that is measured. `ready` puts things in order before each run, outside of the measurement."""

    arguments: list
    ready: Callable[[], None] = lambda: None
    stdin: str = os.devnull
    seconds: list = field(default_factory=list)
    peak: int = 0  # of resident memory, in bytes

    def run(self, measure, times=1):
        """Runs it `times` in a row as one measurement, for commands that are over too soon to be timed alone."""
        self.ready()
        with open(self.stdin) as stdin:
            done = subprocess.run([measure, str(times), *self.arguments], stdin=stdin, stdout=subprocess.PIPE, text=True)
        if done.returncode != 0:
            sys.exit(f"compare: {' '.join(map(str, self.arguments))} failed")
        seconds, peak = done.stdout.split()
        self.seconds.append(float(seconds))
        self.peak = max(self.peak, int(peak) * 1024)

    @property
    def median(self):
        return statistics.median(self.seconds)


def warm_memory(size):
    """Takes memory and gives it back. A virtual machine gets memory that it did not use for two seconds from its host
    anew: of some commands in turns, one would find it there and another would wait for it, time and again."""
    bytes([1]) * size


class Table:
    """Rows of figures and whether each is what it must be."""

    def __init__(self, judges):
        self.judges, self.falls_short = judges, False
        print("| Work | Ours | Peer | Ratio | Wanted | |\n|---|---|---|---|---|---|")

    def add(self, work, ours, peer="", ratio=None, wanted=None):
        verdict = ""
        if wanted is not None and self.judges:
            holds = ratio <= wanted
            verdict = "holds" if holds else "falls short"
            self.falls_short |= not holds
        print("|", " | ".join((work, ours, peer, "" if ratio is None else f"{ratio:.2f}",
                               "" if wanted is None else f"at most {wanted:.2f}", verdict)), "|", flush=True)


class Comparison:
    def __init__(self, programs, work, quick):
        self.programs, self.measure, self.runs = programs, programs / "measure", 3 if quick else 5
        self.inputs, self.out = work / "inputs", work / "out"
        self.scale = 0.1 if quick else 1
        make_inputs.make(self.inputs, self.scale)
        shutil.rmtree(self.out, ignore_errors=True)
        self.out.mkdir()
        self.table = Table(judges=not quick)
        self.example = make_inputs.EXAMPLE

    def kp(self, *arguments, jobs=1, **more):
        return Command([self.programs / "kp", "-j", str(jobs), *arguments], **more)

    def fresh(self, name):
        """A path below the output directory that is not there, the one before it being removed."""
        path = self.out / name
        shutil.rmtree(path) if path.is_dir() else path.unlink(missing_ok=True)
        return path

    def race(self, ours, *peers, rounds=1, times=1, warm=0):
        """All in turns, in `rounds` times the usual number of rounds, after one that warms the caches. What takes many
        MiB of memory and of the cache of the file system has more than twice as many in `warm`. What one left to be
        written, the next, which may wait for the disk, does not wait for."""
        for round_number in range(rounds * self.runs + 1):
            for command in (ours, *peers):
                warm_memory(int(warm * self.scale) * MIB)
                os.sync()
                command.run(self.measure, times)
                if round_number == 0:
                    command.seconds.clear()

    def compare(self, work, ours, peer, name, wanted=None, **race):
        """One row: our time over the peer's."""
        if not ours.seconds:
            self.race(ours, peer, **race)
        self.row(work, ours, peer, name, wanted)

    def row(self, work, ours, peer, name, wanted=None):
        self.table.add(work, figures(ours), f"{name}: {figures(peer)}", ours.median / peer.median, wanted)

    def bound_memory(self, work, command, limit):
        self.table.add(f"{work}: peak memory", mib(command.peak), f"limit: {mib(limit)}", command.peak / limit, 1)

    def scaled(self, number):
        return f"{int(number * self.scale):,}"

    def packed_tree(self):
        """A package with the tree in it."""
        package = self.out / "tree.kp"
        if not package.exists():
            self.kp("add", package, self.example / "kernel.xml", "--ip", self.inputs / "ip").run(self.measure)
        return package

    # The rows

    def add_tree(self):
        tree, description = self.inputs / "ip", self.example / "kernel.xml"
        remove = lambda name: lambda: self.fresh(name)
        package, zipped, bare = (self.out / name for name in ("tree.kp", "tree.zip", "tree.bare"))
        ours = self.kp("add", package, description, "--ip", tree, ready=remove("tree.kp"))
        zip_ = Command(["zip", "-qr", zipped, tree], ready=remove("tree.zip"))
        pack = Command([self.programs / "bare_pack", tree, bare], ready=remove("tree.bare"))
        bsdtar = Command(["bsdtar", "-cf", self.out / "tar.zip", "--format", "zip", tree], ready=remove("tar.zip"))
        sevenzip = Command(["7zz", "a", "-bd", "-mmt=1", "-mx=5", self.out / "7.zip", tree], ready=remove("7.zip"))
        self.race(ours, zip_, pack, bsdtar, sevenzip)
        work = f"add a tree of {self.scaled(3000)} files, {self.scaled(41)} MB"
        self.row(work, ours, zip_, "zip -qr", 1 / 1.8)
        self.row(work, ours, pack, "bare read, deflate, write", 1.2)
        self.row(work, ours, bsdtar, "bsdtar")
        self.row(work, ours, sevenzip, "7zz -mmt=1")
        sizes = [path.stat().st_size for path in (package, zipped)]
        self.table.add("its size", mib(sizes[0]), f"zip -qr: {mib(sizes[1])}", sizes[0] / sizes[1], 1)

    def additions(self, package, tree, *more):
        """The addition of a tree with one core and with two, each to a new package."""
        return (self.kp("add", package(jobs), self.example / "kernel.xml", "--ip", tree, *more, jobs=jobs,
                        ready=lambda jobs=jobs: self.fresh(package(jobs).name)) for jobs in (1, 2))

    def compare_extractions(self, work, package, wanted):
        with self.place_for_files() as place:
            one, two = (self.kp("extract", package, "-d", place, jobs=jobs, ready=lambda: renew(place)) for jobs in (1, 2))
            self.compare(work, two, one, "with one", wanted, rounds=4)

    def two_cores(self):
        """What is done with one core and with two, in turns."""
        tree, package = self.inputs / "ip", lambda jobs: self.out / f"cores{jobs}.kp"
        one, two = self.additions(package, tree)
        zip_ = Command(["zip", "-qr", self.out / "tree.zip", tree], ready=lambda: self.fresh("tree.zip"))
        self.race(two, one, zip_, rounds=2)
        work = f"add a tree of {self.scaled(3000)} files, with two cores"
        self.row(work, two, one, "with one", 1 / 1.7)
        self.row(work, two, zip_, "zip -qr", 1 / 3)
        one, two = (self.kp("verify", package(1), jobs=jobs) for jobs in (1, 2))
        self.compare("verify it with two cores", two, one, "with one", 1 / 1.6, rounds=4)
        self.compare_extractions("extract it with two cores", package(1), 1 / 1.3)
        # No more work than pays for a second thread.
        small = lambda jobs: self.out / f"small{jobs}.kp"
        one, two = self.additions(small, tree / "part0", "--no-lint")
        self.compare(f"add {self.scaled(75)} of its files with two cores", two, one, "with one", 1, rounds=4)
        self.compare_extractions("extract them with two cores", small(1), 1)

    def image(self):
        """One large file with one core and with two, in turns."""
        tree, package = self.inputs / "image-ip", lambda jobs: self.out / f"image{jobs}.kp"
        one, two = self.additions(package, tree)
        zipped, image = self.out / "image.zip", tree / "image.bin"
        zip_ = Command(["zip", "-q", zipped, image], ready=lambda: self.fresh(zipped.name))
        pigz = Command(["sh", "-c", 'pigz -p 2 -c "$1" >"$2"', "sh", image, self.out / "image.gz"])
        self.race(two, one, zip_, pigz, warm=1024)
        work = f"add one file of {self.scaled(300)} MiB, a third of it random"
        self.row(work, one, zip_, "zip -q", 1 / 2.2)
        self.bound_memory(work, one, 64 * MIB)
        self.row(f"{work}, with two cores", two, one, "with one", 1 / 1.7)
        self.row(f"{work}, with two cores", two, pigz, "pigz -p 2", 1 / 1.7)
        self.bound_memory(f"{work}, with two cores", two, 64 * MIB)
        sizes = [next(info.compress_size for info in zipfile.ZipFile(path).infolist() if info.filename.endswith("image.bin"))
                 for path in (package(1), zipped)]
        self.table.add("its size", mib(sizes[0]), f"zip -q, one stream: {mib(sizes[1])}", sizes[0] / sizes[1], 1.005)
        if package(1).read_bytes() != package(2).read_bytes():
            sys.exit("compare: one core and two make different packages")
        for path in (package(1), package(2), zipped, self.out / "image.gz"):
            path.unlink()

    @contextmanager
    def place_for_files(self):
        """An empty directory, in memory if there is such a file system: ext4 is slow at creating files where many were
        deleted minutes ago."""
        parent = "/dev/shm" if os.access("/dev/shm", os.W_OK) and shutil.disk_usage("/dev/shm").free > 256 * MIB else self.out
        place = Path(tempfile.mkdtemp(prefix="kp-bench-", dir=parent))
        yield place
        shutil.rmtree(place)

    def extract_tree(self):
        package, listing = self.packed_tree(), self.out / "names"
        listing.write_text("".join(f"{size} {offset} {stored} {name}\n" for size, offset, stored, name in files_of(package)))
        with self.place_for_files() as place:
            ready = lambda: renew(place)
            ours = self.kp("extract", package, "-d", place, ready=ready)
            unzip = Command(["unzip", "-q", package, "-d", place], ready=ready)
            inflate = Command([self.programs / "bare_extract", place, package], ready=ready, stdin=str(listing))
            bsdtar = Command(["bsdtar", "-xf", package, "-C", place], ready=ready)
            self.race(ours, unzip, inflate, bsdtar, rounds=4)
        work = "extract it"
        self.row(work, ours, unzip, "unzip -q", 1 / 1.3)
        self.row(work, ours, inflate, "bare inflation and creation of the files", 1.2)
        self.row(work, ours, bsdtar, "bsdtar")

    def big_package(self):
        package, copy = self.out / "big.kp", self.out / "copy.kp"
        add = self.kp("add", package, self.example / "kernel.xml", "--ip", self.inputs / "big-ip",
                      ready=lambda: self.fresh("big.kp"))
        add.run(self.measure)
        self.bound_memory(f"add one file of {self.scaled(1024)} MiB", add, 300 * MIB)
        names = iter(range(1000))
        description = self.out / "kernel.xml"
        ours = self.kp("add", package, description, "--ip", self.example / "ip", ready=lambda: description.write_text(
            (self.example / "kernel.xml").read_text().replace("vadd", f"small{next(names)}")))
        copy_and_hash = Command(["sh", "-c", 'openssl dgst -sha256 "$1" && cp "$1" "$2.new" && sync "$2.new" && '
                                 'mv -f "$2.new" "$2"', "sh", package, copy])
        work = f"add a small kernel to a package of {self.scaled(1024)} MiB"
        self.compare(work, ours, copy_and_hash, "SHA-256, cp and sync", 2, warm=2560)
        self.bound_memory(work, ours, 64 * MIB)
        for name in ("big.kp", "copy.kp"):
            self.fresh(name)

    def merge(self):
        packages, merged = [], self.out / "merged.kp"
        for number in range(int(100 * self.scale)):
            description = self.out / "kernel.xml"
            description.write_text((self.example / "kernel.xml").read_text().replace("vadd", f"kernel{number}"))
            packages.append(self.out / f"kernel{number}.kp")
            self.kp("add", packages[-1], description, "--ip", self.inputs / "kernel-ip", "--no-lint").run(self.measure)
        size = sum(package.stat().st_size for package in packages) / len(packages) / MIB
        ready = lambda: self.fresh("merged.kp")
        ours = self.kp("merge", "-o", merged, *packages, ready=ready)
        hash_and_cat = Command(["sh", "-c", 'openssl dgst -sha256 "$@" >/dev/null && cat "$@" >"$0" && sync "$0"',
                                merged, *packages], ready=ready)
        self.compare(f"merge {self.scaled(100)} packages of {size:.0f} MiB", ours, hash_and_cat, "SHA-256, cat and sync",
                     1.5, warm=2560)
        for package in (*packages, merged):
            package.unlink()

    def look(self):
        package = self.packed_tree()
        self.compare(f"list a package of {self.scaled(3000)} entries", self.kp("list", package), Command(["unzip", "-l", package]),
                     "unzip -l", 1, times=20)
        member = "ip_repo/example_kernels_vadd_1_0/component.xml"
        self.compare("cat of one member", self.kp("cat", package, member), Command(["unzip", "-p", package, member]),
                     "unzip -p", 1.5, times=40)
        self.compare("start and end", self.kp("--version"), Command(["unzip", "-v"]), "unzip -v", 1.5, times=40)

    def report(self):
        thousand, ten_thousand = self.inputs / "kernels-1000.kp", self.inputs / "kernels-10000.kp"
        script = [sys.executable, Path(__file__).with_name("info.py")]
        answers = [sorted(json.loads(subprocess.check_output([*command, thousand]))["kernelDefs"], key=lambda kernel: kernel["name"])
                   for command in ([self.programs / "kp", "info", "--json"], script)]
        if answers[0] != answers[1]:
            sys.exit("compare: kp info --json and the script give different answers")
        small, large = self.kp("info", "--json", thousand), self.kp("info", "--json", ten_thousand)
        peer = Command([*script, thousand])
        self.race(small, large, peer, warm=512)
        self.row(f"info --json of {self.scaled(1000)} kernels, {self.scaled(20000)} entries", small, peer, "Python, zipfile, ElementTree", 1 / 5)
        self.row("info --json of ten times the kernels", large, small, "of a tenth", 12)

    def lint(self):
        thousand, more = self.inputs / "reported-1000.kp", self.inputs / "reported-4000.kp"
        small, large, info = self.kp("lint", thousand), self.kp("lint", more), self.kp("info", "--json", thousand)
        self.race(small, large, info, warm=512)
        self.row(f"lint of {self.scaled(1000)} kernels with components and reports", small, info, "kp info --json", 3)
        self.row("lint of four times the kernels", large, small, "of a quarter", 4.8)

    def page(self):
        package, page = self.inputs / "reported-100.kp", self.out / "page.html"
        ours = self.kp("page", package, "-o", page)
        self.race(ours)
        work, size = "page of 100 kernels with reports of 20 modules", page.stat().st_size
        self.table.add(work, figures(ours), "limit: 1 s", ours.median, 1)
        self.table.add(f"{work}: its size", mib(size), "limit: 4.00 MiB", size / (4 * MIB), 1)

    def diff(self):
        kp, old, new = self.programs / "kp", self.inputs / "kernels-1000.kp", self.inputs / "kernels-1000-edited.kp"
        told = json.loads(subprocess.run([kp, "diff", "--json", old, new], stdout=subprocess.PIPE).stdout)["differences"]
        if {difference["field"] for difference in told} != {"attributes"} or len(told) != 10:
            sys.exit("compare: kp diff does not tell the ten differences")
        both = Command(["sh", "-c", '"$1" info --json "$2" && "$1" info --json "$3"', "sh", kp, old, new])
        # Nothing breaks, so that its status is 0.
        self.compare(f"diff of two packages of {self.scaled(1000)} kernels, {self.scaled(20000)} entries, but for ten the same",
                     self.kp("diff", "--breaking", old, new), both, "info --json of both", 2, rounds=2)

    def bind(self):
        document = self.inputs / "report.xml"
        ours, expat = (Command([self.programs / name, document]) for name in ("bind_report", "bare_expat"))
        work = f"bind a report of {self.scaled(50)} MB"
        self.compare(work, ours, expat, "bare expat", 1 / 0.6, rounds=3, warm=512)
        self.bound_memory(work, ours, 4 * document.stat().st_size)


def renew(directory):
    shutil.rmtree(directory)
    directory.mkdir()


def files_of(package):
    """Size, offset of the stored bytes, their size, and name of each file."""
    with zipfile.ZipFile(package) as archive, open(package, "rb") as file:
        for info in archive.infolist():
            file.seek(info.header_offset + 26)
            name_size, extra_size = struct.unpack("<HH", file.read(4))
            if not info.is_dir():
                yield info.file_size, info.header_offset + 30 + name_size + extra_size, info.compress_size, info.filename


def figures(command):
    seconds = command.median
    spent = f"{seconds:.2f} s" if seconds >= 1 else f"{seconds * 1000:.0f} ms" if seconds >= 0.1 else f"{seconds * 1000:.1f} ms"
    return f"{spent}, {mib(command.peak)}"


def mib(size):
    return f"{size / MIB:.0f} MiB" if size >= 10 * MIB else f"{size / MIB:.2f} MiB"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("programs", type=Path)
    parser.add_argument("work", type=Path)
    parser.add_argument("--quick", action="store_true", help="a tenth of the sizes, three runs")
    parser.add_argument("--only", help="the method of one group of rows")
    options = parser.parse_args()
    os.environ["SOURCE_DATE_EPOCH"] = "1700000000"  # packages of one content are to have the same bytes
    comparison = Comparison(options.programs, options.work / ("quick" if options.quick else "full"), options.quick)
    rows = ["add_tree", "extract_tree", "two_cores", "image", "big_package", "merge", "look", "report", "lint", "page", "diff",
            "bind"]
    for name in rows:
        if options.only in (None, name):
            getattr(comparison, name)()
    sys.exit(comparison.table.falls_short)


if __name__ == "__main__":
    main()
