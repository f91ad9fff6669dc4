"""Makes a picture of a terminal, as SVG, of the lines on standard input.

usage: terminal_svg.py COMMAND < OUTPUT

COMMAND is shown as typed at a prompt before them. Every character is put at its own column, so that the
picture is right whatever fixed-width font shows it.
"""

import html
import sys

WIDTH, HEIGHT, MARGIN = 8.4, 19, 16
COLOURS = {"page": "#1d2126", "text": "#e4e7ea", "faint": "#9aa4ae", "accent": "#7cb8f7"}


def line(text: str, row: int, colour: str) -> str:
    y = MARGIN + (row + 0.75) * HEIGHT
    columns = " ".join(f"{MARGIN + WIDTH * column:.1f}" for column in range(len(text)))
    return (f'<text x="{columns}" y="{y:.1f}" fill="{colour}" xml:space="preserve">'
            f"{html.escape(text)}</text>")


def main() -> None:
    lines = sys.stdin.read().rstrip("\n").split("\n")
    width = MARGIN * 2 + WIDTH * max(len(text) for text in lines)
    height = MARGIN * 2 + HEIGHT * (len(lines) + 1)
    print(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:.0f} {height:.0f}" '
          f'width="{width:.0f}" height="{height:.0f}" font-size="14" '
          'font-family="DejaVu Sans Mono, Menlo, Consolas, monospace">')
    print(f'<rect width="100%" height="100%" rx="8" fill="{COLOURS["page"]}"/>')
    print(line("$ " + sys.argv[1], 0, COLOURS["accent"]))
    for row, text in enumerate(lines):
        is_rule = not any(c.isalnum() for c in text)
        print(line(text, row + 1, COLOURS["faint" if is_rule else "text"]))
    print("</svg>")


main()
