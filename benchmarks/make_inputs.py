"""What the comparison works on: trees, packages and documents, the same at every call."""

import os
import random
import shutil
import zipfile
from pathlib import Path

EXAMPLE = Path(__file__).resolve().parent.parent / "examples" / "vadd"

WORDS = ("clk rst_n valid ready data addr burst count last strb resp empty full head tail state next mask shift sum "
         "carry enable pending grant request lane bank tag index word").split()


def text(rng, size):
    """Lines like those of a hardware description, which names the same few dozen signals over and over."""
    signals = [f"{rng.choice(WORDS)}_{rng.choice(WORDS)}{rng.choice(('', '_r', '_q', '_next'))}" for _ in range(40)]
    lines, length = [], 0
    while length < size:
        a, b, c = (rng.choice(signals) for _ in range(3))
        number = int(rng.expovariate(0.1))
        line = rng.choice((f"    assign {a} = {b}[{number}] & ~{c};\n",
                           f"    always @(posedge clk) begin\n        if ({a}) {b} <= {c} + {number};\n    end\n",
                           f"    wire [{number}:0] {a};\n",
                           f"    vadd_fifo #(.WIDTH({number})) {a}_u (.clk(clk), .data({b}), .valid({c}));\n",
                           f"    // {a} follows {b} after {number} cycles\n"))
        lines.append(line)
        length += len(line)
    return "".join(lines).encode()[:size]


def binary(rng, size):
    """Tables of numbers between bytes that nothing compresses."""
    pieces, length = [], 0
    while length < size:
        run = rng.randrange(64, 2048)
        piece = rng.randbytes(run) if rng.random() < 0.4 else bytes([rng.randrange(256), 0, 0, rng.randrange(4)]) * (run // 4)
        pieces.append(piece)
        length += len(piece)
    return b"".join(pieces)[:size]


def ip_tree(directory, files, size):
    """An IP directory of about `size` bytes in all: four of five files are text, one of twenty is a copy of another."""
    rng = random.Random(1)
    shutil.copytree(EXAMPLE / "ip", directory)
    earlier = []
    for number in range(files):
        folder = directory / f"part{number % 40}" / f"level{number % 3}"
        folder.mkdir(parents=True, exist_ok=True)
        wanted = min(int(rng.lognormvariate(0, 1.1) * size / files / 1.83) + 64, 1 << 20)
        if earlier and rng.random() < 0.05:
            content = rng.choice(earlier)
        elif rng.random() < 0.8:
            content = text(rng, wanted)
        else:
            content = binary(rng, wanted)
        if number % 50 == 0:
            earlier.append(content)
        (folder / f"file{number}.{'v' if number % 5 else 'bin'}").write_bytes(content)


def big_tree(directory, size):
    """An IP directory with one file of `size` bytes that nothing compresses."""
    shutil.copytree(EXAMPLE / "ip", directory)
    rng = random.Random(2)
    with open(directory / "image.bin", "wb") as file:
        for _ in range(size >> 20):
            file.write(rng.randbytes(1 << 20))


def package_of(path, kernels, entries_each):
    """A package of many kernels, written directly, since adding one by one seals it every time."""
    description = (EXAMPLE / "kernel.xml").read_text()
    manifest = ['<?xml version="1.0" encoding="UTF-8"?>\n'
                '<Root VersionMajor="6" VersionMinor="0" SoftwareVersionMajor="2020" SoftwareVersionMinor="1" IpCache="no">\n'
                "  <Kernels>\n"]
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for number in range(kernels):
            name = f"kernel{number}"
            ip = f"ip_repo/example_kernels_{name}_1_0"
            archive.writestr(f"{name}/kernel.xml", description.replace("vadd", name))
            for part in range(entries_each - 2):
                archive.writestr(f"{ip}/hdl/part{part}.v", f"module part{part}; endmodule\n")
            archive.writestr(f"{ip}/component.xml", "<component/>\n")
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
              "big-ip": (big_tree, int((1 << 30) * scale)),
              "kernels-100.kp": (package_of, 100, 20),
              "kernels-1000.kp": (package_of, int(1000 * scale), 20),
              "kernels-10000.kp": (package_of, int(10000 * scale), 20),
              "report.xml": (report, int(50e6 * scale))}
    top.mkdir(parents=True, exist_ok=True)
    for name, (maker, *arguments) in inputs.items():
        if (top / name).exists():
            continue
        unfinished = top / (name + ".unfinished")
        shutil.rmtree(unfinished) if unfinished.is_dir() else unfinished.unlink(missing_ok=True)
        maker(unfinished, *arguments)
        os.rename(unfinished, top / name)
