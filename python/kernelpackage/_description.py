"""Descriptions of kernels that are not in a package."""

from __future__ import annotations

from . import _core
from ._paths import path, path_or_empty, text

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Mapping

    from ._paths import StrPath
    from ._records import Argument, Kernel, Lint, Port, Profile


class KernelDescription:
    """A kernel description (kernel.xml), as it was read or made: it does not change.

    `assumed` are the offsets of arguments, by their names, that neither the IP nor whoever made it gave.

    >>> description = KernelDescription.load("vadd/kernel.xml")
    >>> description.name, [argument.offset for argument in description.arguments]
    ('vadd', [16, 28, 40, 52])
    """

    def __init__(self, document: bytes, kernel: Kernel, assumed: Mapping[str, int] = {}) -> None:
        self._document = document
        self._kernel = kernel
        self.assumed = dict(assumed)

    @classmethod
    def load(cls, kernel_xml: StrPath) -> KernelDescription:
        """Read one; InvalidDocumentError, with the line, when it is not valid."""
        return cls(*_core.load_description(path(kernel_xml)))

    @classmethod
    def new(cls, ip: StrPath, prototype: str, *, name: str = "", connect: Mapping[str, str] = {},
            offsets: Mapping[str, int] = {}, sizes: Mapping[str, int] = {}, language: str = "ip", protocol: str = "",
            interrupt: bool | None = None) -> KernelDescription:
        """Make one of what an IP says of itself, a component or its directory, and a prototype of the kernel in C.

        `connect` gives the ports of arguments, `offsets` and `sizes` what they lack, in bytes, all by their names. What
        is left open raises RefusedError, which says what to give.

        >>> made = KernelDescription.new("vadd/ip", "void vadd(const uint *a, const uint *b, uint *out, uint length)",
        ...                              connect={"a": "m_read", "b": "m_read", "out": "m_write"})
        >>> made.arguments[3].offset, made.assumed
        (52, {})
        """
        request = _core.KernelRequest()
        request.prototype, request.name = text(prototype), text(name)
        request.ports = {text(argument): text(port) for argument, port in connect.items()}
        request.offsets = {text(argument): offset for argument, offset in offsets.items()}
        request.sizes = {text(argument): size for argument, size in sizes.items()}
        request.language, request.protocol = text(language), text(protocol)
        request.interrupt = b"" if interrupt is None else b"true" if interrupt else b"false"
        return cls(*_core.new_description(path(ip), request))

    def save(self, kernel_xml: StrPath, *, overwrite: bool = False) -> None:
        """Write it, as a whole or not at all; RefusedError when the file is there and `overwrite` is False."""
        _core.save_description(path(kernel_xml), self._document, overwrite)

    def __bytes__(self) -> bytes:
        return self._document

    def __repr__(self) -> str:
        return f"KernelDescription({self.name!r})"

    def __eq__(self, other: object) -> bool:
        return isinstance(other, KernelDescription) and self._document == other._document

    def __hash__(self) -> int:
        return hash(self._document)

    @property
    def kernel(self) -> Kernel:
        """All that it says, as a record."""
        return self._kernel

    @property
    def name(self) -> str:
        """The kernel's name."""
        return self._kernel.name

    @property
    def vlnv(self) -> str | None:
        """The kernel's vendor, library, name and version."""
        return self._kernel.vlnv

    @property
    def ports(self) -> tuple[Port, ...]:
        """The kernel's bus ports."""
        return self._kernel.ports

    @property
    def arguments(self) -> tuple[Argument, ...]:
        """The kernel's arguments."""
        return self._kernel.arguments

    @property
    def profile(self) -> Profile | None:
        """The figures of its synthesis, None where it has none."""
        return self._kernel.profile


def lint(kernel_xml: StrPath, *, ip: StrPath | None = None, report: StrPath | None = None) -> Lint:
    """Hold the description of a kernel that is not packed yet against its IP and a report.

    >>> lint("vadd/kernel.xml", ip="vadd/ip").findings
    ()
    """
    return _core.lint_description(path(kernel_xml), path_or_empty(ip), path_or_empty(report))
