"""What the operations raise."""

from __future__ import annotations

TYPE_CHECKING = False
if TYPE_CHECKING:
    from ._records import LintFinding


class KernelPackageError(Exception):
    """An operation failed; the text is a whole sentence. A package that it would have changed is as it was.

    `number` is that of the message, such as "17-1376", where the failure has one.
    """

    number: str | None
    path: str | None
    line: int | None
    findings: tuple[LintFinding, ...]

    def __init__(self, text: str, *, number: str | None = None, path: str | None = None, line: int | None = None,
                 findings: tuple[LintFinding, ...] = ()) -> None:
        super().__init__(text)
        self.number = number
        self.path = path
        self.line = line
        self.findings = findings


class NotFoundError(KernelPackageError):
    """There is no such file, be it on the disk, whose `path` is told then, or in a package."""


class KernelNotFoundError(NotFoundError, KeyError):
    """The package has no kernel of the name."""

    __str__ = Exception.__str__  # a KeyError would show the text in quotes


class RefusedError(KernelPackageError):
    """The package, or what is to be made of it, does not allow what was asked for.

    `findings` are those of lint that a strict addition was refused for.
    """


class SealBrokenError(RefusedError):
    """The package was changed since it was sealed, or has lost its digest; reseal=True goes on all the same."""


class InvalidDocumentError(KernelPackageError):
    """A document cannot be read: `path` is the file or package that it is in, `line` the place, None for none."""
