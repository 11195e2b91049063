#!/usr/bin/env python3
"""pictures.py FOLDER OUTPUT: makes a .png in the folder OUTPUT of every .bmp that the Windows tests have left in FOLDER.

Reads what the tests write, and nothing else: 32 bits a pixel, rows from the top.
"""
import pathlib
import struct
import sys
import zlib


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(bitmap):
    start, = struct.unpack_from("<I", bitmap, 10)
    width, height, _, bits = struct.unpack_from("<iiHH", bitmap, 18)
    if bits != 32 or height >= 0:
        raise SystemExit("not a picture of the tests")
    rows = b""
    for y in range(-height):
        row = bitmap[start + y * width * 4 : start + (y + 1) * width * 4]
        rows += b"\0" + b"".join(row[i + 2 : i + 3] + row[i + 1 : i + 2] + row[i : i + 1] for i in range(0, len(row), 4))
    header = struct.pack(">IIBBBBB", width, -height, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b"")


def main():
    source, target = map(pathlib.Path, sys.argv[1:])
    target.mkdir(parents=True, exist_ok=True)
    for file in sorted(source.glob("*.bmp")):
        (target / file.with_suffix(".png").name).write_bytes(png(file.read_bytes()))


main()
