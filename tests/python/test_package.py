"""Packages: the same as the command kp makes of them and tells of them."""

import copy
import json
import logging
import os
import pickle
import random
import re
import subprocess
import zipfile
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any

import pytest
from conftest import EXAMPLE, derived, kp

import kernelpackage
from kernelpackage import (InvalidDocumentError, KernelDescription, KernelNotFoundError, KernelPackageError,
                           NotFoundError, Package, Record, RefusedError, SealBrokenError)

PROTOTYPE = "void vadd(const uint *a, const uint *b, uint *out, uint length)"
CONNECT = {"a": "m_read", "b": "m_read", "out": "m_write"}


def test_changes_give_the_bytes_that_kp_gives(package: Package) -> None:
    Path("image.pdi").write_bytes(random.Random(1).randbytes(1 << 22) * 2)
    Path("caches/one").mkdir(parents=True)
    Path("caches/one/a.qmr").write_bytes(b"cache")
    more = derived("more")
    source = ["--cpu-source", "vadd/src/vadd.cpp"]
    added = ["vadd/kernel.xml", "--ip", "vadd/ip", "--report", "vadd/design.xml", *source]
    steps: list[tuple[list[str], Callable[[], None]]] = [
        (["add", "*", *added], lambda: None),
        (["add", "*", more, "--ip", "vadd/ip", "--hls-dir", "vadd/src", "--project", "p"],
         lambda: package.add(more, ip="vadd/ip", hls_dir="vadd/src", project="p")),
        (["add", "*", "--update", "--name", "MORE", "--pdi", "image.pdi"],
         lambda: package.update("MORE", pdi=["image.pdi"], jobs=3)),
        (["add-cache", "*", "caches"], lambda: package.add_caches("caches")),
        (["add", "*", more, *source, "--replace"], lambda: package.replace(more, cpu_sources=["vadd/src/vadd.cpp"])),
        (["remove", "*", "vadd"], lambda: package.remove("vadd")),
    ]
    for command, change in steps:
        kp(*(word.replace("*", "kp.kp") for word in command))
        change()
        assert Path("vadd.kp").read_bytes() == Path("kp.kp").read_bytes(), command

    other = Package(b"other.kp")
    other.add("vadd/kernel.xml", ip=Path("vadd/ip"), layout="repo")
    Package("all.kp").merge([other, package], sort=True)
    kp("merge", "-o", "merged.kp", "vadd.kp", "other.kp", "--sort")
    assert Path("all.kp").read_bytes() == Path("merged.kp").read_bytes()
    extracted = Package("all.kp").extract("here")
    told = json.loads(kp("extract", "all.kp", "-d", "there", "--json"))["kernels"]
    subprocess.run(["diff", "-r", "here", "there"], check=True)
    assert [kernel.directory.replace("here", "there") for kernel in extracted] == [kernel["root"] for kernel in told]

    made = KernelDescription.new("vadd/ip", PROTOTYPE, connect=CONNECT, protocol="start_done", interrupt=True)
    made.save("made.xml")
    connections = [word for pair in CONNECT.items() for word in ("--connect", "=".join(pair))]
    assert bytes(made).decode() == kp("kernel", "new", "vadd/ip", "--prototype", PROTOTYPE, *connections, "--protocol",
                                      "start_done", "--interrupt", "true", "-o", "-")
    assert KernelDescription.load("made.xml") == made and made.arguments[3].offset == 52
    assert KernelDescription.load("vadd/kernel.xml").ports == other["vadd"].ports == made.ports


def test_a_kernel_is_customized_in_a_shell(package: Package) -> None:
    host = EXAMPLE.parent / "host/host.tcl"
    for folder in ("here", "there"):
        Path(folder).mkdir()
    package.customize("VADD", "deep", Path("here/deep.kp"), tcl_shell="tclsh", params={"SUM_FIFO_DEPTH": 64},
                      board="heron", host_scripts=[host])
    kp("customize", "vadd.kp", "vadd", "--name", "deep", "-o", "there/deep.kp", "--param", "SUM_FIFO_DEPTH=64",
       "--board", "heron", "--host-script", str(host))
    assert Path("here/deep.kp").read_bytes() == Path("there/deep.kp").read_bytes()
    wrong: list[tuple[type[Exception], str, dict[str, Any]]] = [
        (RefusedError, "did you mean 'SUM_FIFO_DEPTH'", {"params": {"SUM_FIFO_DEPT": 64}}),
        (RefusedError, "SUM_FIFO_DEPTH", {"params": {"SUM_FIFO_DEPTH": "deep"}}),
        (NotFoundError, "no.tcl", {"host_scripts": ["no.tcl"]}), (KernelNotFoundError, "'no'", {"kernel": "no"}),
        (KernelPackageError, "ended with status", {"tcl_shell": "exit 3", "board": "heron"}),
        (ValueError, "command line", {"tcl_shell": " "})]
    usual: dict[str, Any] = {"kernel": "vadd", "name": "n", "output": "./n.kp", "tcl_shell": "tclsh"}
    for kind, text, options in wrong:
        with pytest.raises(kind, match=text):
            package.customize(**{**usual, **options})
    assert not Path("n.kp").exists()


def named_as_in_python(told: object) -> object:
    """What kp tells as JSON, with the names that records have for it."""
    names = {"report": "profile", "BRAM_18K": "bram", "DSP48E": "dsp"}
    if isinstance(told, list):
        return [named_as_in_python(each) for each in told]
    if not isinstance(told, dict):
        return told
    return {names.get(key) or re.sub("([a-z])([A-Z])", r"\1_\2", key).lower(): named_as_in_python(value)
            for key, value in told.items()}


def test_records_say_what_kp_says(package: Package) -> None:
    package.add(derived("odd", **{'"0x34"': '"0x36"', 'size="0x4"': 'size="0x8"'}), ip="vadd/ip", lint=False)

    def agree(records: object, *command: str, status: int = 0) -> None:
        """As JSON, but for what kp tells as empty, 0 or "undef"."""
        answer = kp(*command, "--json", status=status)
        answer = re.sub(r'"(line|kernel|path|field|member)": (0|"")(?=[,\n])', r'"\1": null', answer).replace('"cycles": "undef"', '"cycles": null')
        assert json.loads(json.dumps(records)) == named_as_in_python(json.loads(answer))

    info = {**package.info.as_dict(), "written": package.info.written.strftime("%Y-%m-%dT%H:%M:%SZ")}
    kernels = json.loads(json.dumps([kernel.as_dict() for kernel in package]))
    for kernel in kernels:
        if profile := kernel["description"]["profile"]:
            profile["top"] = profile["top"]["name"]
        kernel["description"]["lint"] = package.lint(kernel["name"]).as_dict()
    agree({"package": info, "kernels": kernels}, "show", "vadd.kp")
    assert {finding.code for finding in package.lint()} >= {"misaligned", "ip-register"} and package.lint("odd").errors
    agree(package.lint().as_dict(), "lint", "vadd.kp", status=1)
    assert package.page() == kp("page", "vadd.kp", "-o", "-") != package.page("odd")

    damaged = Path("vadd.kp").read_bytes().replace(b"vadd/cpu_sources", b"vadd/cpu_sourceZ")
    Path("damaged.kp").write_bytes(damaged)
    found = Package("damaged.kp").verify()
    assert found[0].code == "digest" and "does not hold" in found[0].text
    agree({"digest": "mismatch", "findings": [each.as_dict() for each in found[1:]]}, "verify", "damaged.kp", status=1)

    old, slower = Package("old.kp"), Path("vadd/design.xml").read_text().replace("<EstimatedClockPeriod>2.920", "<EstimatedClockPeriod>3.125")
    Path("slower.xml").write_text(slower)
    old.add("vadd/kernel.xml", ip="vadd/ip", report="slower.xml")
    difference = old.diff(package)
    assert (3.125, 2.92) in [(each.old, each.new) for each in difference]
    told = difference.as_dict()
    told["differences"] = [{key: value for key, value in each.as_dict().items()
                            if key != "text" and (key != "percent" or value is not None)} for each in difference]
    agree(told, "diff", "old.kp", "vadd.kp", status=1)
    assert "".join(f"{each}\n" for each in difference) + "verdict: minor\n" == kp("diff", "old.kp", "vadd.kp", status=1)
    assert package.diff(old).breaking and not old.diff(old) and package["vadd"] in package and "Odd" in package


def all_records(record: Record) -> Iterator[Record]:
    yield record
    for value in vars(record).values():
        for item in value if isinstance(value, tuple) else (value,):
            if isinstance(item, Record):
                yield from all_records(item)


def test_records_are_values(package: Package) -> None:
    Package("odd.kp").add(derived("vadd", **{'"0x34"': '"0x38"'}), ip="vadd/ip", lint=False)
    tops = [package.info, package["vadd"], *package.extract("out"), package.diff(Package("odd.kp"))]
    records = [each for top in tops for each in all_records(top)]
    assert len({type(record) for record in records}) > 15
    for record, again in zip(records, [each for top in pickle.loads(pickle.dumps(tops)) for each in all_records(top)]):
        assert record == again == copy.deepcopy(record) and hash(record) == hash(again) and len(repr(record)) < 500
        with pytest.raises(AttributeError):
            record.name = "other"  # type: ignore[attr-defined]
        with pytest.raises(TypeError):
            type(record)(other=1)  # type: ignore[call-arg]
    assert pickle.loads(pickle.dumps(package)) == package and os.fspath(package) == "vadd.kp"


def test_failures_say_what_kind_they_are(package: Package) -> None:
    Path("later.xml").write_text("<root versionMajor='1' versionMinor='10'>\n<other/>")
    Path("broken.kp").write_bytes(Path("vadd.kp").read_bytes()[:-1] + b"?")
    Path("none.kp").write_bytes(b"no archive")
    broken, before = Package("broken.kp"), Path("vadd.kp").read_bytes()
    failures: list[tuple[type[KernelPackageError], str, Callable[[], object]]] = [
        (NotFoundError, "File not found: 'no.kp'", lambda: len(Package("no.kp"))),
        (NotFoundError, "File not found: 'no.xml'", lambda: package.add("no.xml")),
        (NotFoundError, "File not found: 'no.xml'", lambda: KernelDescription.load("no.xml")),
        (NotFoundError, "File not found: 'no.kp'", lambda: Package("no.kp").add_caches("vadd")),
        (NotFoundError, "File not found: 'no'", lambda: package.add_caches("no")),
        (NotFoundError, "'vadd.kp' holds no file 'vadd/no'", lambda: package.read("vadd/no")),
        (KernelNotFoundError, "'no' was not found", lambda: package["no"]),
        (KernelNotFoundError, "'no' was not found", lambda: package.lint("no")),
        (KernelNotFoundError, "did you mean 'vadd'", lambda: package.remove("vaddd")),
        (KernelNotFoundError, "'no' was not found", lambda: package.extract("out", "no")),
        (KernelNotFoundError, "'no' was not found", lambda: package.update("no", pdi=["vadd/design.xml"])),
        (RefusedError, "already exists", lambda: package.add("vadd/kernel.xml", ip="vadd/ip")),
        (RefusedError, "differs from the one", lambda: package.add(derived("twin", **{":twin:": ":vadd:"}), ip="vadd/src")),
        (RefusedError, "has the layout 'repo'", lambda: package.add(derived("k"), ip="vadd/ip", layout="kernel")),
        (RefusedError, "is there already", lambda: package.merge([broken])),
        (RefusedError, "/vadd' exists already", lambda: package.extract(".")),
        (RefusedError, "column 6: ", lambda: KernelDescription.new("vadd/ip", "void 3")),
        (RefusedError, "is there already", lambda: KernelDescription.load("vadd/kernel.xml").save("vadd/kernel.xml")),
        (SealBrokenError, "The digest of 'broken.kp'", lambda: broken.remove("vadd")),
        (SealBrokenError, "The digest of 'broken.kp'", lambda: Package("new.kp").merge([broken])),
        (InvalidDocumentError, "later.xml:2: ", lambda: KernelDescription.load("later.xml")),
        (KernelPackageError, "is not a readable archive", lambda: list(Package("none.kp"))),
    ]
    for kind, text, action in failures:
        with pytest.raises(kind, match=re.escape(text)) as caught:
            action()
        assert type(caught.value) is kind and pickle.loads(pickle.dumps(caught.value)).args == caught.value.args, text
    with pytest.raises(InvalidDocumentError) as document:
        package.add("later.xml", name="later")
    assert (document.value.path, document.value.line, document.value.number) == ("later.xml", 2, "17-132")
    with pytest.raises(RefusedError) as strict:
        package.add(derived("odd", **{'"0x34"': '"0x36"'}), ip="vadd/ip", strict=True)
    assert {finding.code for finding in strict.value.findings} == {"ip-vlnv", "ip-register", "misaligned"}
    assert Path("vadd.kp").read_bytes() == before and not Path("new.kp").exists()


def test_wrong_use_is_told_as_python_does(package: Package) -> None:
    wrong: list[tuple[type[Exception], Callable[..., object], tuple[object, ...], dict[str, object]]] = [
        (TypeError, Package, (3,), {}), (ValueError, Package, ("a\0b",), {}), (TypeError, package.read, (b"x",), {}),
        (TypeError, package.add, (None,), {}), (TypeError, package.add, ("a",), {"cpu_sources": "vadd.cpp"}),
        (TypeError, package.add, ("vadd/kernel.xml",), {"ip": 1.5}), (ValueError, package.add, ("a",), {"layout": "x"}),
        (TypeError, package.add, ("vadd/kernel.xml",), {"project": None}), (TypeError, package.merge, ([None],), {}),
        (TypeError, package.remove, (), {}), (ValueError, package.validate, ("fpga",), {}),
        (ValueError, package.verify, (), {"jobs": 0}), (TypeError, package.verify, (), {"jobs": "2"}),
        (TypeError, package.extract, ("out",), {"own_ip": True}), (ValueError, package.extract, ("a\0",), {}),
        (TypeError, package.verify, (), {"progress": 7}), (TypeError, KernelDescription.new, ("vadd/ip", 7), {}),
        (TypeError, KernelDescription.new, ("vadd/ip", PROTOTYPE), {"offsets": {"a": "0x10"}}),
        (TypeError, KernelDescription.new, ("vadd/ip", PROTOTYPE), {"offsets": {"a": -1}}),
        (UnicodeEncodeError, package.lint, ("\ud800",), {}), (TypeError, kernelpackage.lint, ({},), {}),
    ]
    for kind, action, arguments, options in wrong:
        with pytest.raises(kind):
            action(*arguments, **options)
    assert 3 not in package and package != 3


def test_hostile_packages_raise(package: Package) -> None:
    sound, path = Path("vadd.kp").read_bytes(), Path("hostile.kp")
    hostile = Package(path)
    asked: list[Callable[[], object]] = [
        lambda: list(hostile), hostile.lint, hostile.names, lambda: hostile.diff(package), hostile.verify,
        lambda: hostile.read("vadd/kernel.xml"), lambda: hostile.extract("hostile", overwrite=True)]
    raised = 0
    for at in range(0, len(sound), 97):
        for bytes_ in (sound[:at], sound[:at] + bytes([sound[at] ^ 0xFF]) + sound[at + 1:]):
            path.write_bytes(bytes_)
            assert hostile.verify() != []
            for ask in asked:
                try:
                    ask()
                except KernelPackageError:
                    raised += 1
    assert raised > 500
    with zipfile.ZipFile(path, "w") as archive:
        archive.writestr("kp.xml", package.read("kp.xml"))
        archive.writestr("vadd/kernel.xml", "<root/>")
    with pytest.raises(InvalidDocumentError):
        print([kernel.ports for kernel in hostile])


def test_names_that_are_not_utf8_come_back(directory: Path) -> None:
    os.mkdir(b"k\xff")
    os.rename("vadd/src/vadd.cpp", b"k\xff/\xfe.cpp")
    package = Package(b"k\xff/p\xff.kp")
    package.add("vadd/kernel.xml", cpu_sources=[b"k\xff/\xfe.cpp"])
    source, = [file.name for file in package["vadd"].files if file.part == "cpu-source"]
    assert os.fsencode(source) == b"vadd/cpu_sources/\xfe.cpp" and b"vadd" in package.read(source)
    assert os.fsencode(package.info.path) == b"k\xff/p\xff.kp" and "udcff" in repr(package)
    assert package.extract(b"out\xff")[0].directory == os.fsdecode(b"out\xff/vadd")
    with pytest.raises(NotFoundError, match="no file '\udcff'"):
        package.read("\udcff")


def test_messages_are_logged(package: Package, caplog: pytest.LogCaptureFixture, monkeypatch: pytest.MonkeyPatch) -> None:
    Path("empty").mkdir()
    with caplog.at_level(logging.INFO, "kernelpackage"):
        package.add(derived("more"), ip="empty", cpu_sources=["vadd/src/vadd.cpp"], hls_dir="vadd/src")
    logged = [(record.levelname, getattr(record, "number"), record.getMessage()) for record in caplog.records]
    assert ("WARNING", "17-1406", "[17-1406] The IP directory 'empty' holds no files; no IP is packaged") in logged
    assert ("INFO", "17-1667", "[17-1667] Packaging the HLS directory 'vadd/src'") in logged
    assert [level for level, number, text in logged if "component.xml" in text] == ["WARNING"]
    caplog.clear()
    package.replace("vadd/kernel.xml", ip="vadd/ip")
    Path("later.xml").write_text("<root/>")
    with pytest.raises(InvalidDocumentError):
        package.add("later.xml", name="later")
    assert [getattr(record, "number") for record in caplog.records] == ["17-1525"]  # nothing that is asked for or raised

    def raising(record: logging.LogRecord) -> None:
        raise LookupError("no handler of mine")

    before = Path("vadd.kp").read_bytes()
    monkeypatch.setattr(caplog.handler, "emit", raising)
    with pytest.raises(LookupError):
        package.replace("more.xml", ip="empty", cpu_sources=["vadd/src/vadd.cpp"], lint=False)
    assert Path("vadd.kp").read_bytes() == before
