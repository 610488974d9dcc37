"""What the module is within a process: progress, interruption, threads, memory, types and documents."""

import ast
import copy
import doctest
import gc
import inspect
import os
import random
import resource
import signal
import subprocess
import sys
import threading
import time
from collections.abc import Callable, Iterator
from concurrent.futures import ThreadPoolExecutor, wait
from pathlib import Path
from typing import Any

import pytest
from conftest import derived

import kernelpackage
from kernelpackage import Package

MODULE = Path(kernelpackage.__file__).parent


@pytest.fixture
def large(package: Package) -> Iterator[Path]:
    """A file that takes a while to pack."""
    path = Path("large.bin")
    path.write_bytes(os.urandom(1 << 20) * 48)
    yield path
    path.unlink()


def no_left_overs(directory: Path) -> bool:
    return not [name for name in os.listdir(directory) if ".kp-" in name]


def test_progress_is_told_and_may_end_the_work(package: Package, large: Path, directory: Path) -> None:
    told: list[tuple[int, int]] = []
    package.update("vadd", pdi=[large], progress=lambda done, total: told.append((done, total)))
    assert told == sorted(told, key=lambda each: (each[1], each[0])) and len(told) > 5  # the digest, then the package
    for total in {total for _, total in told}:
        assert {(0, total), (total, total)} <= set(told)
    before = Path("vadd.kp").read_bytes()

    def give_up(done: int, total: int) -> None:
        package.names()  # an operation within another
        if done:
            raise StopIteration(f"at {done}")

    works: list[Callable[[], object]] = [
        lambda: package.replace("vadd/kernel.xml", ip="vadd/ip", pdi=[large], progress=give_up),
        lambda: package.extract("out", progress=give_up), lambda: package.verify(progress=give_up)]
    for work in works:
        with pytest.raises(StopIteration, match="at "):
            work()
    assert Path("vadd.kp").read_bytes() == before and no_left_overs(directory) and os.listdir("out") == []
    with pytest.raises(kernelpackage.KernelPackageError, match="being edited already"):
        package.replace("vadd/kernel.xml", ip="vadd/ip", progress=lambda done, total: package.remove("vadd"))
    assert Path("vadd.kp").read_bytes() == before


@pytest.mark.parametrize("waits_for_lock", [False, True])
def test_ctrl_c_ends_the_work(package: Package, large: Path, directory: Path, waits_for_lock: bool) -> None:
    before = Path("vadd.kp").read_bytes()
    script = """import sys, fcntl, kernelpackage
held = open("vadd.kp")
if sys.argv[1:]: fcntl.flock(held, fcntl.LOCK_EX)
print("begins", flush=True)
try:
    while True:
        kernelpackage.Package("vadd.kp").replace("vadd/kernel.xml", ip="vadd/ip", pdi=["large.bin"], project="p" * 9)
        print("done", flush=True)
except KeyboardInterrupt:
    print("interrupted")
"""
    process = subprocess.Popen([sys.executable, "-c", script, *["lock"] * waits_for_lock], stdout=subprocess.PIPE,
                               text=True)
    assert process.stdout is not None and process.stdout.readline() == "begins\n"
    time.sleep(0.3)
    asked = time.monotonic()
    process.send_signal(signal.SIGINT)
    rest = process.communicate(timeout=20)[0]
    assert rest.endswith("interrupted\n") and process.returncode == 0 and time.monotonic() - asked < 2
    assert package.verify() == [] and no_left_overs(directory)
    assert "done" in rest or Path("vadd.kp").read_bytes() == before


def test_the_interpreter_ends_while_a_thread_works(package: Package, large: Path, directory: Path) -> None:
    # What ends the thread's work is not to be printed: a thread that prints while the interpreter ends is fatal to Python.
    script = """import contextlib, threading, time, kernelpackage
def work():
    with contextlib.suppress(BaseException):
        while True:
            kernelpackage.Package("vadd.kp").replace("vadd/kernel.xml", ip="vadd/ip", pdi=["large.bin"])
threading.Thread(target=work, daemon=True).start()
time.sleep(0.2)
"""
    done = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, timeout=4)  # it waits 5 s at most
    assert done.returncode == 0 and "Fatal" not in done.stderr and "terminate" not in done.stderr
    assert package.verify() == [] and no_left_overs(directory)


def test_threads_work_at_once(package: Package) -> None:
    names = [f"k{number}" for number in range(12)]
    descriptions = [derived(name) for name in names]
    stop = threading.Event()

    def add_to(target: Package, some: list[str]) -> None:
        for description in some:
            target.add(description, ip="vadd/ip", lint=False)

    def read() -> None:
        seen = 0
        while not stop.is_set():
            present = package.names()
            assert len(present) >= seen and [kernel.name for kernel in package][:len(present)] == present
            assert package.verify() == [] and not package.diff(package).breaking
            seen = len(present)

    other = Package("other.kp")
    with ThreadPoolExecutor(5) as threads:
        adders = [threads.submit(add_to, target, some) for target, some in (
            (package, descriptions[::2]), (package, descriptions[1::2]), (other, descriptions))]
        readers = [threads.submit(read) for _ in range(2)]
        wait(adders)
        stop.set()
        for work in [*adders, *readers]:
            work.result()
    assert sorted(package.names()) == sorted(["vadd", *names]) and other.names() == names


def test_the_lock_of_the_interpreter_is_released(package: Package, large: Path) -> None:
    package.update("vadd", pdi=[large])
    ticks = 0
    thread = threading.Thread(target=package.verify)
    thread.start()
    while thread.is_alive():
        ticks += 1
        time.sleep(0.001)
    assert ticks > 10


def test_nothing_leaks(package: Package) -> None:
    def work(times: int) -> None:
        for number in range(times):
            assert Package("vadd.kp").names() == ["vadd"]
            if number % 10 == 0:
                with pytest.raises(kernelpackage.NotFoundError):
                    package.read("none")
            if number % 50 == 0:
                kernel = package["vadd"]
                assert kernel.profile and package.verify(progress=lambda done, total: kernel) == []

    work(1000)
    gc.collect()
    objects, memory, files = len(gc.get_objects()), resource.getrusage(resource.RUSAGE_SELF).ru_maxrss, open_files()
    work(10000)
    gc.collect()
    assert len(gc.get_objects()) - objects < 50 and open_files() == files
    assert resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - memory < 1024  # KiB


def open_files() -> int:
    return len(os.listdir("/proc/self/fd"))


def test_every_public_name_is_documented_and_typed() -> None:
    exported = {name: getattr(kernelpackage, name) for name in kernelpackage.__all__}
    assert set(exported) == {name for name in vars(kernelpackage) if not name.startswith("_")}
    for name, value in exported.items():
        members = vars(value).items() if inspect.isclass(value) else ()
        public = [member for key, member in members if not key.startswith("_") and not isinstance(member, (str, tuple))]
        for each in [value, *(member for member in public if callable(member) or isinstance(member, property))]:
            assert inspect.getdoc(each), (name, each)
    compiled = ast.parse((MODULE / "_core.pyi").read_text()).body
    stubs = {item.name: item for item in compiled if isinstance(item, (ast.FunctionDef, ast.ClassDef))}
    core = kernelpackage._core
    assert set(stubs) == {name for name in dir(core) if not name.startswith("_")}
    for name, stub in stubs.items():
        if isinstance(stub, ast.ClassDef):
            fields = {field.target.id for field in stub.body
                      if isinstance(field, ast.AnnAssign) and isinstance(field.target, ast.Name)}
            assert fields == {field for field in dir(getattr(core, name)) if not field.startswith("_")}
        else:
            signature = str(getattr(core, name).__doc__).partition("(")[2].partition(") ->")[0]
            assert signature.count("arg") == len(stub.args.args), name


def test_examples_in_docstrings_hold(directory: Path) -> None:
    texts = "\n".join(f"{inspect.getdoc(value) or ''}\n" for owner in [kernelpackage.Package, kernelpackage,
                      kernelpackage.Record, kernelpackage.KernelDescription]
                      for value in [owner, *(member for key, member in vars(owner).items() if not key.startswith("_"))]
                      if owner is not kernelpackage or inspect.isfunction(value) or value is owner)
    test = doctest.DocTestParser().get_doctest(texts, dict(vars(kernelpackage)), "docstrings", None, None)
    assert len(test.examples) > 15
    assert doctest.DocTestRunner().run(test).failed == 0


def test_nothing_that_is_passed_ends_the_interpreter(package: Package) -> None:
    junk: list[Any] = [None, 0, -1, 1 << 70, 1.5, "", "vadd.kp", "\udcff", "a\0b", b"", b"\xff", [], ["x"], {}, {"a": 1},
                       object(), package, type, iter([]), lambda *_: 1 / 0, "x" * 100000, [b"y"] * 10000]
    core = kernelpackage._core
    called = [getattr(owner, name) for owner in (core, kernelpackage, package, kernelpackage.KernelDescription)
              for name in dir(owner) if name[0] != "_" and name != "end_all" and callable(getattr(owner, name))]
    assert len(called) > 70
    choice = random.Random(1)
    for _ in range(5000):
        function, arguments = choice.choice(called), choice.choices(junk, k=choice.randrange(7))
        try:
            function(*arguments)
        except Exception as failure:
            assert str(failure) or isinstance(failure, KeyError), (function, arguments)
    for kind in (core.KernelAddition, core.KernelRequest, core.KernelCustomization):
        with pytest.raises(TypeError):
            getattr(kind.__new__(kind), "name", None) or copy.copy(kind())


def test_importing_is_quick() -> None:
    def seconds(code: str) -> float:
        """Of the processor, which does not count what other processes do meanwhile."""
        status, usage = os.wait4(os.spawnl(os.P_NOWAIT, sys.executable, sys.executable, "-c", code), 0)[1:]
        assert status == 0
        return float(usage.ru_utime + usage.ru_stime)

    bare, importing = (min(seconds(code) for _ in range(15)) for code in ("pass", "import kernelpackage"))
    assert importing - bare < 0.030
    slow = "import kernelpackage, sys; print(*{'logging', 'dataclasses', 'typing', 'threading'} & set(sys.modules))"
    assert subprocess.run([sys.executable, "-c", slow], capture_output=True, text=True).stdout == "\n"
