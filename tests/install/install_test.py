"""Installs a build, checks what its libraries export, and works through its documents with what is installed alone."""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

BUILD, SOURCE = Path(sys.argv[1]), Path(sys.argv[2])
FILES = {"c": "vadd.h", "cpp": "tutorial.cpp", "cmake": "CMakeLists.txt", "java": "Tutorial.java", "tcl": "trace.tcl",
         "python": "tutorial_python.py"}
STEPS = {"README.md": 2, "docs/tutorial.md": 6, "docs/kernel-xml.md": 7, "docs/profile-report.md": 3}


def output(*command, **more):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **more).stdout


def check_exports(prefix):
    """What the libraries define for others is what installed headers mark as exported, and the ten Java methods."""
    headers = "".join(path.read_text() for path in (prefix / "include").rglob("*.h"))
    marked = set(re.findall(r"(?:class|struct) KP_EXPORT (?:[\w:]+::)?(\w+)|KP_EXPORT [^;{(]*?(\w+)\(", headers))
    marked = {name for names in marked for name in names}
    assert len(marked) > 50, marked
    for library in prefix.rglob("libkp*.so.*.*.*"):
        for line in output("nm", "-DC", "--defined-only", library).splitlines():
            kind, name = line.split(maxsplit=2)[1:]
            if kind not in "TDBR" or name.startswith(("typeinfo", "vtable", "non-virtual thunk", "guard")):
                continue
            words = set(re.findall(r"\w+", name.split("(")[0]))
            assert words & marked or name.startswith("Java_"), f"{library.name} exports {name}"
    containers = next(prefix.rglob("libkpcontainers.so.*.*.*"))
    java = re.findall(r"native \w+ (\w+)\(", (SOURCE / "examples/java/ui/data/containers/containersi.java").read_text())
    exported = re.findall(r"Java_ui_data_containers_containersi_(\w+)", output("nm", "-D", "--defined-only", containers))
    assert sorted(name.replace("_1", "_") for name in exported) == sorted(java) and len(java) == 10, exported


def check_search_paths(*files):
    """The loader looks for libraries nowhere but where they are: an empty element is the current directory."""
    for file in files:
        path, = re.findall(r"\(RUNPATH\).*\[(.*)\]", output("readelf", "-d", file))
        assert all(part.startswith("$ORIGIN") for part in path.split(":")), f"{file}: {path}"


def check_command(kp):
    """The command starts with few libraries: its own objects and those of C++ are linked in, Tcl is loaded by scripts."""
    needed = re.findall(r"\(NEEDED\).*\[lib(\w+)", output("readelf", "-d", kp))
    assert set(needed) <= {"deflate", "nettle", "z", "expat", "m", "c"}, needed


def check_module(directory):
    """Python's module finds the libraries by itself."""
    assert output(sys.executable, "-c", "import kernelpackage; print(kernelpackage.Package.__name__)",
                  env={"PYTHONPATH": str(directory)}) == "Package\n"


def anchors(document):
    headings = re.findall(r"^#+ (.*)", document.read_text(), re.MULTILINE)
    return [re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings]


def check_links(documents):
    """Links of the documents to files, and to places in documents, lead to what is installed."""
    links = [(path.parent / file if file else path, place) for path in documents.rglob("*.md")
             for file, place in re.findall(r"\]\(([\w./-]*)(?:#([\w-]+))?\)", path.read_text())]
    dead = [(file, place) for file, place in links if not file.exists() or (place and place not in anchors(file))]
    assert len(links) > 10 and not dead, dead


def work_through(document, steps, directory, environment):
    """Blocks of a language make one file; commands run in order and must answer with the text that follows."""
    blocks = re.findall(r"^```(\w+)\n(.*?)^```$", document.read_text(), re.MULTILINE | re.DOTALL)
    for language, file in FILES.items():
        (directory / file).write_text("".join(text for kind, text in blocks if kind == language))
    texts = iter(blocks)
    ran = 0
    for kind, commands in texts:
        if kind != "sh":
            continue
        answer_kind, expected = next(texts)
        assert answer_kind == "text", commands
        answer = output("bash", "-euo", "pipefail", "-c", commands, cwd=directory, env=environment)
        assert answer == expected, f"{commands}\nanswered\n{answer}\ninstead of\n{expected}"
        ran += 1
    assert ran == steps, f"{ran} steps of {document}"


with tempfile.TemporaryDirectory() as top:
    prefix = Path(top, "prefix")
    output("cmake", "--install", BUILD, "--prefix", prefix)
    check_exports(prefix)
    check_search_paths(*BUILD.glob("lib/libkp*.so"), *prefix.rglob("libkp*.so"), *prefix.rglob("_core*.so"))
    check_command(prefix / "bin/kp")
    installed = prefix / "share/doc/kernelpackage"
    check_links(installed)
    libraries = next(prefix.rglob("pkgconfig")).parent
    modules = next(prefix.rglob("kernelpackage/py.typed")).parents[1]
    check_module(modules)
    environment = {
        **os.environ, "PATH": f"{prefix}/bin:{Path(sys.executable).parent}:{os.environ['PATH']}",
        "CMAKE_PREFIX_PATH": str(prefix), "PYTHONPATH": str(modules), "PYTHONDONTWRITEBYTECODE": "1",
        "PKG_CONFIG_PATH": str(libraries / "pkgconfig"), "LD_LIBRARY_PATH": str(libraries)}
    for name, steps in STEPS.items():
        work = Path(tempfile.mkdtemp(dir=top))
        (work / "examples").symlink_to(installed / "examples")
        work_through(installed / name, steps, work, environment)
