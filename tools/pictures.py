#!/usr/bin/env python3
"""Makes docs/pictures from the example kernel: a page of kp page, and what kp show prints on a terminal.

usage: tools/pictures.py
"""

import os
import pty
import re
import subprocess
import tempfile
from pathlib import Path
from xml.sax.saxutils import escape

TOP = Path(__file__).resolve().parent.parent
KP = TOP / "build/release/bin/kp"
EXAMPLE = TOP / "examples/vadd"
PICTURES = TOP / "docs/pictures"

CHROMIUM = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
            "--disable-background-networking", "--disable-component-update", "--disable-sync", "--hide-scrollbars"]

COLUMNS, COLUMN_WIDTH, LINE_HEIGHT, MARGIN = 80, 8, 18, 16
COLOURS = {"": "#d8dee6", "1": "#ffffff", "2": "#909aa6", "31": "#ff8f85", "32": "#79d49a", "33": "#e4ba66"}


def build():
    for command in ("tools/install-deps.sh", "cmake --preset release --log-level=WARNING",
                    "cmake --build --preset release --target kp"):
        subprocess.run(command.split(), cwd=TOP, check=True, stdout=subprocess.DEVNULL)


def on_terminal(*command):
    """What a command prints on a terminal."""
    screen, terminal = pty.openpty()
    process = subprocess.Popen(command, stdout=terminal, env={
        **os.environ, "TERM": "xterm", "NO_COLOR": "", "LC_ALL": "C.UTF-8", "COLUMNS": str(COLUMNS)})
    os.close(terminal)
    printed = b""
    with open(screen, "rb", buffering=0) as pieces:
        try:
            while piece := pieces.read(1 << 16):
                printed += piece
        except OSError:  # the other end is closed
            pass
    if process.wait() != 0:
        raise SystemExit(f"pictures: {command[0]} failed")
    return printed.decode().replace("\r\n", "\n")


def spans(line):
    """Pieces of a line in one colour without wide gaps: the column where each begins, its text, its colour's code."""
    column, colour = 0, ""
    for piece in re.split("(\x1b\\[[0-9]*m|  +)", line):
        if piece.startswith("\x1b"):
            colour = piece[2:-1].lstrip("0")
            continue
        lead = len(piece) - len(piece.lstrip())
        if piece.strip():
            yield column + lead, piece.strip(), colour
        column += len(piece)


def terminal_picture(text):
    """An SVG of a terminal. The width of each piece is stated, so that columns are columns in any font."""
    lines = text.splitlines()
    width, height = COLUMNS * COLUMN_WIDTH + 2 * MARGIN, len(lines) * LINE_HEIGHT + 2 * MARGIN
    yield (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" height="{height}" '
           'font-family="ui-monospace, DejaVu Sans Mono, Menlo, Consolas, monospace" font-size="13">')
    yield f'<rect width="{width}" height="{height}" rx="8" fill="#171c22"/>'
    for row, line in enumerate(lines):
        for column, piece, colour in spans(line):
            weight = ' font-weight="bold"' if colour == "1" else ""
            yield (f'<text x="{MARGIN + column * COLUMN_WIDTH}" y="{MARGIN + (row + 1) * LINE_HEIGHT - 5}" '
                   f'textLength="{len(piece) * COLUMN_WIDTH}" fill="{COLOURS[colour]}"{weight}>{escape(piece)}</text>')
    yield "</svg>\n"


def main():
    build()
    PICTURES.mkdir(exist_ok=True)
    os.environ["SOURCE_DATE_EPOCH"] = "1580000000"  # the same bytes at every call
    with tempfile.TemporaryDirectory() as directory:
        os.chdir(directory)
        subprocess.run([KP, "add", "vadd.kp", EXAMPLE / "kernel.xml", "--ip", EXAMPLE / "ip", "--report", EXAMPLE / "design.xml",
                        "--cpu-source", EXAMPLE / "src/vadd.cpp"], check=True)
        # What is printed before the list of files.
        shown = on_terminal(KP, "show", "vadd.kp").partition("\n\x1b[1mFiles: ")[0]
        (PICTURES / "show.svg").write_text("\n".join(terminal_picture(shown)))
        # Of the page the upper half.
        subprocess.run([KP, "page", "vadd.kp", "-o", "vadd.html"], check=True)
        subprocess.run([*CHROMIUM, f"--user-data-dir={directory}/profile", "--window-size=1100,1720",
                        "--force-device-scale-factor=0.75", f"--screenshot={PICTURES / 'page.png'}", "vadd.html"],
                       check=True, stderr=subprocess.DEVNULL)


if __name__ == "__main__":
    main()
