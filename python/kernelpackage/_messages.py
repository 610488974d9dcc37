"""What the operations have to say, on its way to `logging`."""

from __future__ import annotations


def post(severity: str, number: str, text: str) -> None:
    """Log a message under its number. The module that logs is loaded by the first one, for it takes time."""
    import logging

    level = {"info": logging.INFO, "warning": logging.WARNING, "error": logging.ERROR}[severity]
    logging.getLogger("kernelpackage").log(level, "%s", f"[{number}] {text}" if number else text,
                                           extra={"number": number})
