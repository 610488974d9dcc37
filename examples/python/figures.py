#!/usr/bin/env python3
"""usage: examples/python/figures.py [FOLDER]

Prints the figures of all kernels in the packages of a folder, and what changed from each package to the next."""

# %% The packages, in the order in which they were written
import logging
import sys
from pathlib import Path

from kernelpackage import Kernel, KernelPackageError, Package

logging.basicConfig(format="%(levelname)s: %(message)s")
folder = Path(sys.argv[1] if len(sys.argv) > 1 else ".")
packages = sorted((Package(path) for path in folder.glob("*.kp")), key=lambda each: (each.info.written, each.path))


# %% What is told of a kernel
def figures(kernel: Kernel) -> list[str]:
    """Its name, what it takes of the device, and its clock period against the target."""
    top = kernel.profile.top if kernel.profile else None
    if top is None:
        return [kernel.name, "no report"]
    taken = [top.resources.lut, top.resources.ff, top.resources.bram, top.resources.dsp]
    timing = f"{top.timing.estimated} of {top.timing.target}" + ("" if top.timing.is_met else " MISSED")
    return [kernel.name, *("-" if count is None else f"{count:,}" for count in taken), timing]


# %% A table of all kernels, and what changed since the last package
ROW = "{:<24} {:>10} {:>10} {:>6} {:>6}   {}"
last = None
print(ROW.format("kernel", "LUT", "FF", "BRAM", "DSP", "clock"))
for package in packages:
    print(f"\n{Path(package).name}, {package.info.digest}")
    try:
        for kernel in package:
            row = figures(kernel)
            print(ROW.format(*row) if len(row) > 2 else " ".join(row))
        if last is not None:
            changes = last.diff(package)
            print(*(f"  {change}" for change in changes), f"  since {Path(last).name}: {changes.verdict}", sep="\n")
        last = package
    except KernelPackageError as failure:
        print(f"  {failure}")
