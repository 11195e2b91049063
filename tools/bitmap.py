#!/usr/bin/env python3
"""bitmap.py DRAWING OUTPUT: makes a 16-colour Windows bitmap (.bmp) of a drawing in characters.

Lines "X colour" say what a character stands for, one of the sixteen standard colours; an empty line ends them. Then the
rows follow, from the top, one character a pixel. Lines before the rows that begin with "#" are comments.
"""
import struct
import sys

# Names and values of the standard palette, in the order of its entries: (red, green, blue).
COLOURS = {
    "black": (0x00, 0x00, 0x00),
    "maroon": (0x80, 0x00, 0x00),
    "green": (0x00, 0x80, 0x00),
    "olive": (0x80, 0x80, 0x00),
    "navy": (0x00, 0x00, 0x80),
    "purple": (0x80, 0x00, 0x80),
    "teal": (0x00, 0x80, 0x80),
    "silver": (0xC0, 0xC0, 0xC0),
    "grey": (0x80, 0x80, 0x80),
    "red": (0xFF, 0x00, 0x00),
    "lime": (0x00, 0xFF, 0x00),
    "yellow": (0xFF, 0xFF, 0x00),
    "blue": (0x00, 0x00, 0xFF),
    "fuchsia": (0xFF, 0x00, 0xFF),
    "aqua": (0x00, 0xFF, 0xFF),
    "white": (0xFF, 0xFF, 0xFF),
}


def read_drawing(path):
    """Rows of palette entries."""
    with open(path, encoding="ascii") as file:
        head, _, body = file.read().partition("\n\n")
    colours = list(COLOURS)
    entries = {}
    for line in head.splitlines():
        if not line.startswith("#"):
            character, name = line.split()
            entries[character] = colours.index(name)
    rows = [[entries[character] for character in line] for line in body.splitlines()]
    if not rows or any(len(row) != len(rows[0]) for row in rows):
        raise SystemExit(f"{path}: the rows are not of one length")
    return rows


def bitmap(rows):
    """The file: its header, the picture's header, the palette, and the rows from the bottom, two pixels a byte."""
    width, height = len(rows[0]), len(rows)
    pixels = b""
    for row in reversed(rows):
        padded = row + [0] * (-width % 8)  # rows are made of whole 32-bit numbers
        pixels += bytes(left << 4 | right for left, right in zip(padded[::2], padded[1::2]))
    palette = b"".join(struct.pack("4B", blue, green, red, 0) for red, green, blue in COLOURS.values())
    picture = struct.pack("<IiiHHIIiiII", 40, width, height, 1, 4, 0, len(pixels), 0, 0, 0, 0)
    start = 14 + len(picture) + len(palette)
    return struct.pack("<2sIHHI", b"BM", start + len(pixels), 0, 0, start) + picture + palette + pixels


def main():
    source, target = sys.argv[1:]
    with open(target, "wb") as file:
        file.write(bitmap(read_drawing(source)))


main()
