#!/usr/bin/env python3
"""Draws the check mark of the contact list's phone menu, at 11 x 11 and at 22 x 22 for
high-resolution screens, as 24-bit BMP files: a dark tick on white, white being the colour that is left
out where the mark is drawn.

The tick is two strokes of round ends. Each pixel is sampled on a 6 x 6 grid and is dark when at least
half of it is covered: no pixel is between the tick's colour and white, so no light fringe shows on a
highlighted line.

Usage: make-check-mark.py OUTPUT_FOLDER [--preview FOLDER]
  writes menu_check.bmp and menu_check_vga.bmp; with --preview also enlarged PNGs of both on a grey
  ground, to look at. The files are committed; run this again only to change the art.
"""
import math
import os
import struct
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from drawing import write_png  # noqa: E402

GRID = 6
TICK = (0x20, 0x20, 0x20)
WHITE = (255, 255, 255)


def segment_distance(x, y, a, b):
    ax, ay = a
    bx, by = b
    dx, dy = bx - ax, by - ay
    t = max(0.0, min(1.0, ((x - ax) * dx + (y - ay) * dy) / (dx * dx + dy * dy)))
    return math.hypot(x - (ax + t * dx), y - (ay + t * dy))


def inside(x, y, size):
    # The stroke is a little thicker at the small size, where a pixel is a large part of it.
    r = 0.11 if size < 16 else 0.085
    short = ((0.12, 0.55), (0.40, 0.82))
    long = ((0.40, 0.82), (0.88, 0.16))
    return segment_distance(x, y, *short) <= r or segment_distance(x, y, *long) <= r


def draw(size):
    rows = []
    for py in range(size):
        row = []
        for px in range(size):
            hits = 0
            for sy in range(GRID):
                for sx in range(GRID):
                    x = (px + (sx + 0.5) / GRID) / size
                    y = (py + (sy + 0.5) / GRID) / size
                    hits += inside(x, y, size)
            row.append(TICK if hits * 2 >= GRID * GRID else WHITE)
        rows.append(row)
    return rows


def write_bmp(path, rows):
    """A bottom-up 24-bit BMP, each row padded to four bytes."""
    height, width = len(rows), len(rows[0])
    stride = (width * 3 + 3) & ~3
    pixels = b""
    for row in reversed(rows):
        line = b"".join(bytes((b, g, r)) for r, g, b in row)
        pixels += line + b"\0" * (stride - len(line))
    header = struct.pack("<IiiHHIIiiII", 40, width, height, 1, 24, 0, len(pixels), 2835, 2835, 0, 0)
    file_header = struct.pack("<2sIHHI", b"BM", 14 + len(header) + len(pixels), 0, 0, 14 + len(header))
    with open(path, "wb") as f:
        f.write(file_header + header + pixels)


def preview(rows, scale):
    grey = (0xC0, 0xC0, 0xC0)
    out = []
    for row in rows:
        line = []
        for px in row:
            line.extend([grey if px == WHITE else px] * scale)
        out.extend([line] * scale)
    return out


def main():
    args = sys.argv[1:]
    if not args:
        print(__doc__)
        return 2
    out = args[0]
    preview_folder = args[args.index("--preview") + 1] if "--preview" in args else None
    os.makedirs(out, exist_ok=True)
    for name, size in (("menu_check", 11), ("menu_check_vga", 22)):
        rows = draw(size)
        write_bmp(os.path.join(out, name + ".bmp"), rows)
        if preview_folder:
            os.makedirs(preview_folder, exist_ok=True)
            write_png(os.path.join(preview_folder, name + ".png"), preview(rows, 16 if size < 16 else 8))
    return 0


if __name__ == "__main__":
    sys.exit(main())
