"""The examples for people do what is told of them."""

import re
import runpy
import subprocess
import sys
from pathlib import Path

import pytest
from conftest import EXAMPLE, derived

from kernelpackage import Package

ROOT = EXAMPLE.parents[1]


def test_figures_of_a_folder(directory: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    for number, more in enumerate(["", "bigger"]):
        monkeypatch.setenv("SOURCE_DATE_EPOCH", str(1700000000 + 1000 * number))
        package = Package(f"{2 - number}.kp")
        package.add("vadd/kernel.xml", ip="vadd/ip", report="vadd/design.xml")
        if more:
            package.add(derived(more), cpu_sources=["vadd/src/vadd.cpp"])
    Path("0.kp").write_bytes(Path("2.kp").read_bytes()[:-1] + b"?")
    done = subprocess.run([sys.executable, ROOT / "examples/python/figures.py"], capture_output=True, text=True)
    assert (done.returncode, done.stderr) == (0, "")
    assert done.stdout == """\
kernel                          LUT         FF   BRAM    DSP   clock

0.kp, mismatch
vadd                            655        612      0      0   2.92 of 4.0

2.kp, valid
vadd                            655        612      0      0   2.92 of 4.0
  since 0.kp: same

1.kp, valid
vadd                            655        612      0      0   2.92 of 4.0
bigger no report
  bigger: compatible: kernel added
  since 2.kp: minor
"""


def test_the_progress_bar(package: Package, capsys: pytest.CaptureFixture[str]) -> None:
    block, = re.findall(r"^```python\n(.*?)^```$", (ROOT / "docs/python.md").read_text(), re.MULTILINE | re.DOTALL)
    Path("bar.py").write_text(block)
    bar = runpy.run_path("bar.py")["bar"]
    assert bar.n == bar.total > 0
    assert "100%" in capsys.readouterr().err
