#!/usr/bin/env python3
"""What a terminal shows after some output, as text and as a picture.

    terminal.py TEXT PICTURE < OUTPUT

The output may hold carriage returns, which overwrite a line. Lines that begin with "$ " are commands.
"""

import sys
from html import escape

FONT_SIZE = 14
COLUMN = 8.43  # of a monospaced font of that size
LINE = 20
MARGIN = 16


def shown(output):
    # Each progress label is as long as the one before, so it hides it; a warning about a stalled
    # transfer is longer, but the picture need not keep its end.
    return [([piece for piece in line.split("\r") if piece] or [""])[-1].rstrip()
            for line in output.rstrip("\n").split("\n")]


def picture(lines):
    width = round(max(map(len, lines)) * COLUMN) + 2 * MARGIN
    height = len(lines) * LINE + 2 * MARGIN
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" '
        f'height="{height}" font-family="DejaVu Sans Mono, Menlo, Consolas, monospace" '
        f'font-size="{FONT_SIZE}" fill="#d4d4d4">',
        "<title>Updating a camera in a terminal</title>",
        f'<rect width="{width}" height="{height}" rx="8" fill="#1e1e1e"/>',
    ]
    for number, line in enumerate(lines):
        if line:
            # As wide in every font.
            size = f'textLength="{round(len(line) * COLUMN, 1)}" lengthAdjust="spacingAndGlyphs"'
            look = ' fill="#7ec699" font-weight="bold"' if line.startswith("$ ") else ""
            y = MARGIN + number * LINE + FONT_SIZE
            parts.append(f'<text x="{MARGIN}" y="{y}" {size} xml:space="preserve"{look}>'
                         f"{escape(line, quote=False)}</text>")
    return "\n".join([*parts, "</svg>", ""])


def main(text_path, picture_path):
    lines = shown(sys.stdin.buffer.read().decode("utf-8"))
    for path, content in ((text_path, "\n".join([*lines, ""])), (picture_path, picture(lines))):
        with open(path, "w", encoding="utf-8") as file:
            file.write(content)


if __name__ == "__main__":
    main(*sys.argv[1:])
