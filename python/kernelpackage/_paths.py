"""Paths and texts on their way to the compiled half, which takes bytes."""

from __future__ import annotations

import os

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Iterable

    StrPath = str | bytes | os.PathLike[str] | os.PathLike[bytes]


def path(given: StrPath) -> bytes:
    """The bytes of a path; TypeError for what is none, ValueError for one that no file can have."""
    return _bytes(os.fsencode(given))


def path_or_empty(given: StrPath | None) -> bytes:
    """As path; nothing for None."""
    return b"" if given is None else path(given)


def paths(given: Iterable[StrPath]) -> list[bytes]:
    """As path, for each of several. One that is given alone is a mistake: its characters would be taken."""
    if isinstance(given, (str, bytes, os.PathLike)):
        raise TypeError(f"expected several paths, such as a list of them, not {given!r}")
    return [path(one) for one in given]


def text(given: str) -> bytes:
    """The bytes of a name or another text, as the package has them."""
    if not isinstance(given, str):
        raise TypeError(f"expected str, not {type(given).__name__}")
    return _bytes(given.encode("utf-8", "surrogateescape"))


def text_or_none(given: str | None) -> bytes | None:
    """As text; None for None."""
    return None if given is None else text(given)


def _bytes(encoded: bytes) -> bytes:
    if b"\0" in encoded:
        raise ValueError("embedded null byte")
    return encoded
