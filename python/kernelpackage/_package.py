"""Packages: what is in them, and changing them."""

from __future__ import annotations

import os

from . import _core
from ._errors import KernelNotFoundError, NotFoundError, RefusedError
from ._messages import post
from ._paths import path, path_or_empty, paths, text, text_or_none
from ._records import Comparison, Extracted, Finding, Kernel, Lint, PackageInfo

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Callable, Iterable, Iterator, Mapping

    from ._paths import StrPath

    Progress = Callable[[int, int], object]

_FLOWS = {"sw_emu": 0, "hw_emu": 1, "hw": 2}
_LOWER = {upper: upper + 32 for upper in range(ord("A"), ord("Z") + 1)}
_MOST_JOBS = 1024
_MOST_TOLD = 10  # of lint's errors, by an addition


class Package:
    """A package file, which need not be there before something is added.

    Nothing is kept open: each operation takes the package as it is then, and sees one version of it. Changes are done
    completely or not at all, whatever fails; those of other processes and threads wait for each other. So packages may
    be used from any thread.

    Names of kernels are found in any case of letters. What fails raises KernelPackageError, and Ctrl-C ends what takes
    long. `progress` is called with the number of bytes that are done and their total, now and then; where work has
    several stretches, such as looking at the digest and writing, each begins at 0. What it raises ends the work as well.
    `jobs` is how many cores may take part, all that the process may use unless given; the bytes do not depend on it.

    >>> package = Package("vadd.kp")
    >>> package.add("vadd/kernel.xml", ip="vadd/ip", report="vadd/design.xml")
    >>> "vadd" in package, len(package)
    (True, 1)
    >>> for kernel in package:
    ...     print(kernel.name, kernel.flows, [port.name for port in kernel.ports])
    vadd ('hw_emu', 'hw') ['s_control', 'm_read', 'm_write']
    """

    def __init__(self, path: StrPath) -> None:
        self._path = os.fspath(path)
        self._bytes()  # what cannot be a path is told now

    @property
    def path(self) -> str:
        """The path, as it was given."""
        return os.fsdecode(self._path)

    def __fspath__(self) -> str:
        return self.path

    def __repr__(self) -> str:
        return f"Package({self.path!r})"

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Package) and self._path == other._path

    def __hash__(self) -> int:
        return hash(self._path)

    def _bytes(self) -> bytes:
        return path(self._path)

    # What is in it.

    def names(self) -> list[str]:
        """The names of all kernels, in the order of the package."""
        return list(_core.names(self._bytes()))

    def __len__(self) -> int:
        return len(self.names())

    def __bool__(self) -> bool:
        return True  # whatever it holds, and whether or not it is there

    def __iter__(self) -> Iterator[Kernel]:
        """All kernels of the package as it is now; what is added later does not appear."""
        return iter(_core.kernels(self._bytes(), None))

    def __contains__(self, item: object) -> bool:
        """Whether there is a kernel of the name, or this very kernel."""
        if isinstance(item, str):
            wanted = _folded(item)
            return any(_folded(name) == wanted for name in self.names())
        return isinstance(item, Kernel) and any(kernel == item for kernel in self)

    def __getitem__(self, name: str) -> Kernel:
        """The kernel of the name; KernelNotFoundError, which is a KeyError, when there is none."""
        kernel, = _core.kernels(self._bytes(), text(name))
        return kernel

    @property
    def info(self) -> PackageInfo:
        """The package as a whole: its size, its format, its digest."""
        return _core.info(self._bytes())

    def read(self, member: str) -> bytes:
        """The bytes of a file in the package, as `kernel.files` names it; NotFoundError when there is none.

        >>> Package("vadd.kp").read("vadd/kernel.xml")[:19]
        b'<?xml version="1.0"'
        """
        data = _core.read(self._bytes(), text(member))
        if data is None:
            raise NotFoundError(f"'{self.path}' holds no file '{member}'", path=member)
        return data

    # What is wrong with it.

    def validate(self, flow: str) -> list[str]:
        """The names of all kernels, when each has the flow ("sw_emu", "hw_emu", "hw"); RefusedError when one lacks it.

        >>> Package("vadd.kp").validate("hw")
        ['vadd']
        """
        if flow not in _FLOWS:
            raise ValueError(f"{flow!r} is none of the flows {', '.join(_FLOWS)}")
        return list(_core.validate(self._bytes(), _FLOWS[flow]))

    def verify(self, *, jobs: int | None = None, progress: Progress | None = None) -> list[Finding]:
        """Check the digest, the structure of the archive, all data, and that all is there; [] when all is well.

        A digest that does not hold is a finding of the code "digest"; the other codes are those of `kp verify`.

        >>> Package("vadd.kp").verify()
        []
        """
        digest, findings = _core.verify(self._bytes(), _number_of(jobs), progress)
        if digest == "valid":
            return list(findings)
        words = {"missing": "is missing", "unreadable": "cannot be read",
                 "mismatch": "does not hold: the package was changed since it was sealed"}[digest]
        return [Finding(code="digest", member=None, text=f"The digest of '{self.path}' {words}"), *findings]

    def lint(self, kernel: str | None = None) -> Lint:
        """Hold description, IP and report of all kernels, or of one, against each other.

        >>> if Package("vadd.kp").lint():
        ...     print("not as it should be")
        """
        return _core.lint(self._bytes(), text_or_none(kernel))

    def diff(self, new: StrPath, kernel: str | None = None) -> Comparison:
        """What differs in another package, or in the kernel of a name there, from this one.

        >>> Package("vadd.kp").diff("vadd.kp").verdict
        'same'
        """
        return _core.compare(self._bytes(), path(new), text_or_none(kernel))

    def page(self, kernel: str | None = None) -> str:
        """All that there is to show of the package, or of one kernel, as an HTML document that stands by itself.

        >>> Package("vadd.kp").page()[:15]
        '<!DOCTYPE html>'
        """
        return _core.page(self._bytes(), text_or_none(kernel))

    # Changing it.

    def add(self, kernel_xml: StrPath, *, ip: StrPath | None = None, cpu_sources: Iterable[StrPath] = (),
            sw_emu: Iterable[StrPath] = (), pdi: Iterable[StrPath] = (), shim: StrPath | None = None,
            report: StrPath | None = None, ip_instance: StrPath | None = None, debug_dir: StrPath | None = None,
            hls_dir: StrPath | None = None, project: str = "", top_ip: str = ".", name: str | None = None,
            layout: str | None = None, replace_ip: bool = False, reseal: bool = False, check_version: bool = False,
            lint: bool = True, strict: bool = False, jobs: int | None = None,
            progress: Progress | None = None) -> None:
        """Add a kernel, and make the package where there is none.

        `kernel_xml` is its description, `ip` the directory of its packaged IP, `report` a synthesis report for its
        profile. `layout`, "repo" or "kernel", is for a new package. The first errors that lint finds are logged as
        warnings, unless `lint` is False; `strict` refuses a kernel with any finding, and tells all as `findings`.

        RefusedError when the package has a kernel of the name, SealBrokenError when its digest does not hold and
        `reseal` is False; an IP that other kernels use as well is replaced by another one only with `replace_ip`.
        """
        addition = _addition(self._bytes(), kernel_xml, ip, cpu_sources, sw_emu, pdi, shim, report, ip_instance,
                             debug_dir, hls_dir, project, top_ip, name, layout, replace_ip, reseal, check_version, jobs)
        _add(addition, lint, strict, progress)

    def replace(self, kernel_xml: StrPath, *, ip: StrPath | None = None, cpu_sources: Iterable[StrPath] = (),
                sw_emu: Iterable[StrPath] = (), pdi: Iterable[StrPath] = (), shim: StrPath | None = None,
                report: StrPath | None = None, ip_instance: StrPath | None = None, debug_dir: StrPath | None = None,
                hls_dir: StrPath | None = None, project: str = "", top_ip: str = ".", name: str | None = None,
                layout: str | None = None, replace_ip: bool = False, reseal: bool = False, check_version: bool = False,
                lint: bool = True, strict: bool = False, jobs: int | None = None,
                progress: Progress | None = None) -> None:
        """As add, in the place of the kernel of the name, if there is one."""
        addition = _addition(self._bytes(), kernel_xml, ip, cpu_sources, sw_emu, pdi, shim, report, ip_instance,
                             debug_dir, hls_dir, project, top_ip, name, layout, replace_ip, reseal, check_version, jobs)
        addition.replace = addition.update = True
        _add(addition, lint, strict, progress)

    def update(self, name: str, *, pdi: Iterable[StrPath] = (), shim: StrPath | None = None, reseal: bool = False,
               check_version: bool = False, jobs: int | None = None, progress: Progress | None = None) -> None:
        """Add device images and a shim solution to a kernel that is there, and leave the rest of it."""
        if name not in self:
            raise KernelNotFoundError(f"Kernel '{name}' was not found inside KP container '{self.path}'")
        addition = _core.KernelAddition()
        addition.package, addition.kernel = self._bytes(), text(name)
        addition.pdi, addition.shim = paths(pdi), path_or_empty(shim)
        addition.layout, addition.replace_ip = b"", False
        addition.reseal, addition.check_version, addition.update = reseal, check_version, True
        addition.jobs = _number_of(jobs)
        _core.add(addition, progress)

    def remove(self, *names: str, reseal: bool = False, progress: Progress | None = None) -> None:
        """Remove kernels, all that are named or none, with what is theirs alone."""
        if not names:
            raise TypeError("remove() takes the name of a kernel at least")
        _core.remove(self._bytes(), [text(name) for name in names], reseal, progress)

    def merge(self, packages: Iterable[StrPath], *, sort: bool = False, check_version: bool = False,
              reseal: bool = False, jobs: int | None = None, progress: Progress | None = None) -> None:
        """Make this package, which must not be there yet, of all kernels of others.

        They are in the order of the packages, with `sort` in that of their names.
        """
        _core.merge(self._bytes(), paths(packages), sort, check_version, reseal, _number_of(jobs), progress)

    def add_caches(self, directory: StrPath, *, reseal: bool = False, jobs: int | None = None,
                   progress: Progress | None = None) -> None:
        """Add IP caches: each directory, from this one down, that holds a ".qmr" file, under its own name."""
        _core.add_caches(self._bytes(), path(directory), reseal, _number_of(jobs), progress)

    def extract(self, directory: StrPath, kernel: str | None = None, *, own_ip: bool = False,
                check_version: bool = False, overwrite: bool = False, jobs: int | None = None,
                progress: Progress | None = None) -> list[Extracted]:
        """Extract all kernels, or one, to a directory, which is created where missing, and tell where they lie.

        With `own_ip` only the IP of the kernel comes along, not all of the IP repository. RefusedError when the
        directory holds the kernel already, or other bytes of its IP, and `overwrite` is False.

        >>> Package("vadd.kp").extract("out", "vadd")
        [Extracted(name='vadd', directory='out/vadd', ip_dir='out/ip_repo', ip_cache_dir=None)]
        """
        if own_ip and kernel is None:
            raise TypeError("extract() takes own_ip only with the name of a kernel")
        return list(_core.extract(self._bytes(), text_or_none(kernel), path(directory), own_ip, check_version,
                                  overwrite, _number_of(jobs), progress))

    def customize(self, kernel: str, name: str, output: StrPath, *, tcl_shell: str,
                  params: Mapping[str, str | int] | None = None, board: str = "", host_scripts: Iterable[StrPath] = (),
                  replace_ip: bool = False, reseal: bool = False, jobs: int | None = None,
                  progress: Progress | None = None) -> None:
        """Make an RTL kernel with other IP parameters, or for a board, and add it under a new name to a package.

        The scripts that this takes run in `tcl_shell`, the command line of a design tool's shell, as a child process,
        after `host_scripts` were loaded there. `output` is made where it is not there; a bare file name lies beside
        this package. What the IP does not take is refused before any script runs. One customization runs at a time.
        """
        if not tcl_shell.strip():
            raise ValueError("tcl_shell is the command line of a shell, such as 'tclsh'")
        request = _core.KernelCustomization()
        request.package, request.output = self._bytes(), path(output)
        request.kernel, request.name, request.board = text(kernel), text(name), text(board)
        request.params = {text(param): text(str(value)) for param, value in (params or {}).items()}
        request.host_scripts, request.tcl_shell = paths(host_scripts), text(tcl_shell)
        request.replace_ip, request.reseal, request.jobs = replace_ip, reseal, _number_of(jobs)
        _core.customize(request, progress)


def _number_of(jobs: int | None) -> int:
    """0 for all usable cores."""
    if jobs is None:
        return 0
    if not 1 <= jobs <= _MOST_JOBS:
        raise ValueError(f"jobs is a number from 1 to {_MOST_JOBS}, not {jobs}")
    return jobs


def _folded(name: str) -> str:
    """Names are the same in any case of the letters A to Z."""
    return name.translate(_LOWER)


def _addition(package: bytes, kernel_xml: StrPath, ip: StrPath | None, cpu_sources: Iterable[StrPath],
              sw_emu: Iterable[StrPath], pdi: Iterable[StrPath], shim: StrPath | None, report: StrPath | None,
              ip_instance: StrPath | None, debug_dir: StrPath | None, hls_dir: StrPath | None, project: str,
              top_ip: str, name: str | None, layout: str | None, replace_ip: bool, reseal: bool,
              check_version: bool, jobs: int | None) -> _core.KernelAddition:
    if layout not in (None, "repo", "kernel"):
        raise ValueError(f"{layout!r} is none of the layouts repo, kernel")
    addition = _core.KernelAddition()
    addition.package = package
    addition.ip, addition.report = path_or_empty(ip), path_or_empty(report)
    addition.cpu_sources, addition.sw_emu, addition.pdi = paths(cpu_sources), paths(sw_emu), paths(pdi)
    addition.shim, addition.ip_instance = path_or_empty(shim), path_or_empty(ip_instance)
    addition.debug_dir, addition.hls_dir = path_or_empty(debug_dir), path_or_empty(hls_dir)
    addition.project, addition.top_ip = text(project), text(top_ip)
    addition.layout, addition.replace_ip = text(layout or ""), replace_ip
    addition.reseal, addition.check_version, addition.jobs = reseal, check_version, _number_of(jobs)
    addition.kernel_xml = description = path(kernel_xml)
    addition.kernel = _core.name_in(description) if name is None else text(name)
    return addition


def _add(addition: _core.KernelAddition, lint: bool, strict: bool, progress: Progress | None) -> None:
    if strict:
        findings = _core.lint_addition(addition).findings
        if findings:
            raise RefusedError(f"The kernel is not added: strict allows no finding of lint, such as {findings[0]}",
                               findings=findings)
    elif lint:
        _warn_of_errors(addition)
    _core.add(addition, progress)


def _warn_of_errors(addition: _core.KernelAddition) -> None:
    try:
        errors = _core.lint_addition(addition).errors
    except Exception:  # what lint cannot read, the addition refuses with better words
        return
    for finding in errors[:_MOST_TOLD]:
        post("warning", "", str(finding))
    if len(errors) > _MOST_TOLD:
        post("warning", "", f"... and {len(errors) - _MOST_TOLD} more; Package.lint tells all")
