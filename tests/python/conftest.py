"""What the tests of the Python module share: a directory with the example kernel, and runs of kp."""

import os
import shutil
import subprocess
from pathlib import Path

import pytest

from kernelpackage import Package

KP = os.environ["KP"]
EXAMPLE = Path(os.environ["KP_EXAMPLES_DIR"], "vadd")


@pytest.fixture(autouse=True)
def directory(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Path:
    """The current directory, with the example kernel as "vadd"; times of entries are fixed."""
    shutil.copytree(EXAMPLE, tmp_path / "vadd")
    monkeypatch.chdir(tmp_path)
    monkeypatch.setenv("SOURCE_DATE_EPOCH", "1700000000")
    return tmp_path


@pytest.fixture
def package() -> Package:
    """A package of the example kernel."""
    made = Package("vadd.kp")
    made.add("vadd/kernel.xml", ip="vadd/ip", report="vadd/design.xml", cpu_sources=["vadd/src/vadd.cpp"])
    return made


def kp(*arguments: str, status: int = 0) -> str:
    """The answer of the command."""
    done = subprocess.run([KP, *arguments], capture_output=True, text=True)
    assert done.returncode == status, done.stderr
    return done.stdout


def derived(name: str, **texts: str) -> str:
    """The path of a description like the example's under another name and VLNV, with texts replaced."""
    document = Path("vadd/kernel.xml").read_text().replace('name="vadd"', f'name="{name}"')
    document = document.replace(":vadd:", f":{name}:")
    for old, new in texts.items():
        assert old in document
        document = document.replace(old, new)
    Path(f"{name}.xml").write_text(document)
    return f"{name}.xml"
