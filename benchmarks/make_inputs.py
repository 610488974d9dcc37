"""What the comparison works on: trees, packages and documents, the same at every call."""

import os
import random
import shutil
import struct
import zipfile
from itertools import accumulate, islice
from pathlib import Path

EXAMPLE = Path(__file__).resolve().parent.parent / "examples" / "vadd"

SYLLABLES = ("ad ax be bus ca clk co da de dex di en er fi ga ha il in io ko la ler mem mo ne no ob or pa qu ra re ri "
             "sel so sta ta ter ti tor un va ver wi xo ze").split()


class Author:
    """Writes files such as an IP holds. What they have in common with real ones: few words and instructions are used
    again and again and many now and then, lines come in blocks that differ in a name or a number, and every source
    begins with the same licence."""

    def __init__(self, rng):
        self.rng = rng
        self.words = ["".join(rng.choices(SYLLABLES, k=rng.choice((1, 2, 2, 3, 3, 4)))) for _ in range(3000)]
        self.operations = [rng.randbytes(rng.choice((1, 2, 2, 3, 3, 4))) for _ in range(80)]
        self.licence = self.comment("", 12)

    def usual(self, things, count):
        """Some of the things, the first of them most often."""
        weights = accumulate(1 / (rank + 3) for rank in range(len(things)))
        return self.rng.choices(things, cum_weights=list(weights), k=count)

    def comment(self, indent, lines):
        words = iter(self.usual(self.words, 14 * lines))
        return "".join(f"{indent}// {' '.join(islice(words, self.rng.randrange(6, 14)))}\n" for _ in range(lines))

    def block(self, names):
        """Some lines of a hardware description."""
        rng = self.rng
        a, b, c, d, *ports = rng.choices(names, k=20)
        kind = rng.random()
        if kind < 0.3:
            lines = "".join(f"        .{port}({signal}),\n" for port, signal in zip(ports[:8], ports[8:]))
            return f"    {a} #(\n        .WIDTH({rng.randrange(64)})\n    ) {b}_{rng.randrange(100)} (\n{lines}        .clk(clk)\n    );\n\n"
        if kind < 0.5:
            return (f"    always @(posedge clk) begin\n        if (!rst_n) begin\n            {a} <= 'h{rng.randrange(1 << 24):x};\n"
                    f"        end else if ({b} && !{c}) begin\n            {a} <= {d};\n        end\n    end\n\n")
        if kind < 0.6:
            return self.comment("    ", rng.randrange(1, 4))
        if kind < 0.75:
            return "".join(f"    assign {a}[{i}] = {b}[{2 * i + 1}] ^ {c}[{i}];\n" for i in range(rng.randrange(4, 24)))
        return f"    wire [{rng.randrange(128)}:0] {a};\n    reg {b};\n    assign {c} = {a}[{rng.randrange(32)}] & {d};\n"

    def source(self, size):
        words = iter(self.usual(self.words, 2 * size // 100 + 24))
        names = ["_".join(islice(words, self.rng.choice((1, 2, 2, 3)))) for _ in range(size // 100 + 12)]
        return filled(size, lambda: self.block(names), f"{self.licence}module {names[0]} (\n").encode()

    def instructions(self):
        rng = self.rng
        operands = {0: lambda: rng.randbytes(1), 1: lambda: rng.randrange(-64, 64).to_bytes(4, "little", signed=True)}
        return b"".join(operation + operands.get(rng.randrange(6), bytes)() for operation in self.usual(self.operations, 50))

    def symbols(self):
        """Rows of a table that name, type, place and size something."""
        at = self.rng.randrange(1 << 16)
        rows = []
        for _ in range(10):
            at += self.rng.randrange(8, 300)
            rows.append(struct.pack("<IBBHQQ", at // 9, self.rng.choice((1, 2, 18)), 0, self.rng.randrange(12), at,
                                    self.rng.randrange(16, 400)))
        return b"".join(rows)

    def object_code(self, size):
        """Instructions, a symbol table, and the names of the symbols."""
        code = filled(size * 7 // 10, self.instructions)
        table = filled(size * 15 // 100, self.symbols)
        return code + table + filled(size - len(code) - len(table), lambda: " ".join(self.usual(self.words, 20)).encode())


def filled(size, piece, begin=None):
    """Pieces up to a size."""
    pieces, length = [begin] if begin else [], len(begin or "")
    while length < size:
        pieces.append(piece())
        length += len(pieces[-1])
    return (pieces[0][:0].join(pieces) if pieces else b"")[:size]


def ip_tree(directory, files, size):
    """An IP directory of about `size` bytes in all: four of five files are sources, the others object code and, some,
    compressed already; one of twenty is a copy of another."""
    rng = random.Random(1)
    author = Author(rng)
    shutil.copytree(EXAMPLE / "ip", directory)
    earlier = []
    for number in range(files):
        folder = directory / f"part{number % 40}" / f"level{number % 3}"
        folder.mkdir(parents=True, exist_ok=True)
        wanted = min(int(rng.lognormvariate(0, 1.1) * size / files / 1.83) + 64, 1 << 20)
        kind = rng.random()
        if earlier and kind < 0.05:
            content = rng.choice(earlier)
        elif kind < 0.8:
            content = author.source(wanted)
        elif kind < 0.97:
            content = author.object_code(wanted)
        else:
            content = rng.randbytes(wanted)
        if number % 50 == 0:
            earlier.append(content)
        (folder / f"file{number}").write_bytes(content)


def big_tree(directory, size):
    """An IP directory with one file of `size` bytes that nothing compresses."""
    shutil.copytree(EXAMPLE / "ip", directory)
    rng = random.Random(2)
    with open(directory / "image.bin", "wb") as file:
        for _ in range(size >> 20):
            file.write(rng.randbytes(1 << 20))


def image_tree(directory, size):
    """An IP directory with one file of `size` bytes like a device image: a third of it compresses to nothing less, the
    rest is tables and texts of tools."""
    shutil.copytree(EXAMPLE / "ip", directory)
    author, size_of_part = Author(random.Random(3)), 1 << 20
    parts = [kind(size_of_part) for kind in (author.object_code, author.source) for _ in range(12)]
    with open(directory / "image.bin", "wb") as file:
        for number in range(size // size_of_part):
            file.write(author.rng.choice(parts) if number % 3 else author.rng.randbytes(size_of_part))


def profile(modules):
    """The example's report as a part of its description, with more modules."""
    document = (EXAMPLE / "design.xml").read_text()
    begin, end = document.index("    <Module>\n"), document.rindex("    </Module>\n") + len("    </Module>\n")
    own = document[begin:end].split("    </Module>\n")[:-1]
    more = (own[number % len(own)].replace("<Name>", f"<Name>more{number}_") + "    </Module>\n"
            for number in range(modules - len(own)))
    return document[document.index("<profile>"):end] + "".join(more) + document[end:]


def package_of(path, kernels, entries_each, modules=0, edited=0):
    """A package of many kernels, written directly, since adding one by one seals it every time. With modules, each
    kernel has a report of so many. Of `edited` kernels, all over the package, the description has another text that
    nobody calls by."""
    description = (EXAMPLE / "kernel.xml").read_text()
    if modules:
        description = description.replace("</root>", profile(modules) + "</root>")
    ip_files = {str(path.relative_to(EXAMPLE / "ip")): path.read_text() for path in sorted((EXAMPLE / "ip").rglob("*.*"))}
    parts = range(entries_each - 1 - len(ip_files))
    manifest = ['<?xml version="1.0" encoding="UTF-8"?>\n'
                '<Root VersionMajor="6" VersionMinor="0" SoftwareVersionMajor="2020" SoftwareVersionMinor="1" IpCache="no">\n'
                "  <Kernels>\n"]
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for number in range(kernels):
            name = f"kernel{number}"
            ip = f"ip_repo/example_kernels_{name}_1_0"
            own = description.replace("vadd", name)
            if edited and number % (kernels // edited) == 0:
                own = own.replace('attributes=""', 'attributes="edited"')
            archive.writestr(f"{name}/kernel.xml", own)
            for part in parts:
                archive.writestr(f"{ip}/hdl/part{part}.v", f"module part{part}; endmodule\n")
            for file, text in ip_files.items():
                archive.writestr(f"{ip}/{file}".replace("vadd", name), text.replace("vadd", name))
            manifest.append(f'    <Kernel Name="{name}" Dir="{name}" IP="{ip}" TopIpDir="." Debug="no">\n'
                            "      <SupportedFlows><SupportedFlow>SYSTEM</SupportedFlow></SupportedFlows>\n"
                            "    </Kernel>\n")
        archive.writestr("kp.xml", "".join(manifest) + "  </Kernels>\n</Root>\n")


def report(path, size):
    """A synthesis report with very many modules, without the one element that only the kernel package's reader accepts."""
    document = (EXAMPLE / "design.xml").read_text().replace("<Loop*/>", "")
    begin, end = document.index("    <Module>\n"), document.rindex("    </Module>\n") + len("    </Module>\n")
    modules = document[begin:end]
    with open(path, "w") as file:
        file.write(document[:begin])
        for _ in range(max(1, (size - len(document)) // len(modules))):
            file.write(modules)
        file.write(document[end:])


def make(top, scale):
    """All inputs below `top`, where they are missing. `scale` is 1, or less for smaller ones."""
    inputs = {"ip": (ip_tree, int(3000 * scale), int(42e6 * scale)),
              "kernel-ip": (ip_tree, 200, int(31e6)),
              "big-ip": (big_tree, int((1 << 30) * scale)),
              "image-ip": (image_tree, int(300 * scale) << 20),
              "kernels-100.kp": (package_of, 100, 20),
              "kernels-1000.kp": (package_of, int(1000 * scale), 20),
              "kernels-1000-edited.kp": (package_of, int(1000 * scale), 20, 0, 10),
              "kernels-10000.kp": (package_of, int(10000 * scale), 20),
              "reported-100.kp": (package_of, 100, 20, 20),
              "reported-1000.kp": (package_of, int(1000 * scale), 20, 20),
              "reported-4000.kp": (package_of, int(4000 * scale), 20, 20),
              "report.xml": (report, int(50e6 * scale))}
    top.mkdir(parents=True, exist_ok=True)
    for name, (maker, *arguments) in inputs.items():
        if (top / name).exists():
            continue
        unfinished = top / (name + ".unfinished")
        shutil.rmtree(unfinished) if unfinished.is_dir() else unfinished.unlink(missing_ok=True)
        maker(unfinished, *arguments)
        os.rename(unfinished, top / name)
