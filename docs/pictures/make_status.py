#!/usr/bin/env python3
"""Draws docs/pictures/status.svg from what the program shows on a terminal while the demo plays.

Usage: make_status.py MARVO-HEADLESS DEMO.mrv     (needs `script` of util-linux)
"""

import html
import re
import subprocess
import sys
import tempfile
from pathlib import Path

COLUMNS, ROWS = 108, 30
COLOURS = {"31": "#ff6b5e", "32": "#7bd88f", "33": "#ffd166", "2": "#7d8590"}


def screen(program, project):
    with tempfile.TemporaryDirectory() as folder:
        log = Path(folder, "log")
        play = "stty cols %d rows %d; %s run %s --play --status --for 5 --best-effort --config-dir %s/c" % (
            COLUMNS, ROWS, program, project, folder)
        subprocess.run(["script", "-qec", play, str(log)], check=True, stdout=subprocess.DEVNULL)
        return log.read_text(errors="replace").split("\x1b[H")[-1].split("\x1b[J")[0]


def spans(line):
    """(text, colour, bold) for each run of a line."""
    colour, bold = "#e6edf3", False
    for piece in re.split(r"(\x1b\[[0-9;]*[A-Za-z])", line):
        code = re.fullmatch(r"\x1b\[([0-9;]*)m", piece)
        if code:
            if code[1] in ("", "0"):
                colour, bold = "#e6edf3", False
            elif code[1] == "1":
                bold = True
            colour = COLOURS.get(code[1], colour)
        elif not piece.startswith("\x1b") and piece:
            yield piece, colour, bold


def main():
    lines = [line.rstrip("\r") for line in screen(*sys.argv[1:3]).replace("\r\n", "\n").split("\n")]
    lines = [line for i, line in enumerate(lines) if i == 0 or re.sub(r"\x1b\[[0-9;]*[A-Za-z]", "", line).strip()]
    width, step = COLUMNS * 8.43 + 32, 19
    out = ['<svg xmlns="http://www.w3.org/2000/svg" width="%d" height="%d">' % (width, len(lines) * step + 28),
           '<rect width="100%" height="100%" rx="8" fill="#0d1117"/>',
           '<g font-family="DejaVu Sans Mono, Menlo, monospace" font-size="14" xml:space="preserve">']
    for row, line in enumerate(lines):
        text = "".join('<tspan fill="%s"%s>%s</tspan>' % (colour, ' font-weight="bold"' if bold else "", html.escape(part))
                       for part, colour, bold in spans(line))
        out.append('<text x="16" y="%d">%s</text>' % (28 + row * step, text))
    out += ["</g>", "</svg>", ""]
    Path(__file__).with_name("status.svg").write_text("\n".join(out))


if __name__ == "__main__":
    main()
