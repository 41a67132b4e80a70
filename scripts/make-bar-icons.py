#!/usr/bin/env python3
"""Draws the two pictures of the letter bar's last cell, at 96 and at 192 dpi, as PNG files.

The bar recolours every pure black pixel to the text colour of the skin and treats magenta (FF00FF) as
transparent, so the pictures use only those two colours: shapes are rasterised by sampling each pixel
on a 4 x 4 grid and keeping black where at least half of the samples fall inside.

  picture 0, "step back" (shown while the popup is open): a backspace key, an arrow-headed tab with
             a cross cut out of it;
  picture 1, "contacts" (shown otherwise): the head and shoulders of a person.

Usage: make-bar-icons.py OUTPUT_FOLDER    (writes bar_back.png, bar_back_vga.png, bar_contacts.png,
bar_contacts_vga.png). The files are committed; run this again only to change the art.
"""
import math
import os
import sys

from drawing import in_polygon, write_png

BLACK = (0, 0, 0)
MAGENTA = (255, 0, 255)


def rasterise(size, inside):
    """inside(x, y) on the unit square [0, 1) x [0, 1) says whether a point is ink."""
    rows = []
    for py in range(size):
        row = []
        for px in range(size):
            hits = 0
            for sy in range(4):
                for sx in range(4):
                    if inside((px + (sx + 0.5) / 4) / size, (py + (sy + 0.5) / 4) / size):
                        hits += 1
            row.append(BLACK if hits >= 8 else MAGENTA)
        rows.append(row)
    return rows


def near_segment(x, y, a, b, half_width):
    ax, ay = a
    bx, by = b
    dx, dy = bx - ax, by - ay
    t = max(0.0, min(1.0, ((x - ax) * dx + (y - ay) * dy) / (dx * dx + dy * dy)))
    return math.hypot(x - (ax + t * dx), y - (ay + t * dy)) <= half_width


def step_back(x, y):
    tab = [(0.04, 0.5), (0.34, 0.16), (0.96, 0.16), (0.96, 0.84), (0.34, 0.84)]
    if not in_polygon(x, y, tab):
        return False
    cross = 0.085
    centre = (0.62, 0.5)
    arm = 0.17
    a = near_segment(x, y, (centre[0] - arm, centre[1] - arm), (centre[0] + arm, centre[1] + arm), cross)
    b = near_segment(x, y, (centre[0] - arm, centre[1] + arm), (centre[0] + arm, centre[1] - arm), cross)
    return not (a or b)


def contacts(x, y):
    head = math.hypot(x - 0.5, y - 0.3) <= 0.19
    # Shoulders: the upper half of an ellipse standing on the bottom edge.
    ex, ey = (x - 0.5) / 0.38, (y - 0.98) / 0.42
    shoulders = y <= 0.96 and ex * ex + ey * ey <= 1.0
    # A thin gap between head and shoulders keeps them apart at small sizes.
    gap = math.hypot(x - 0.5, y - 0.3) <= 0.25 and not head
    return head or (shoulders and not gap)


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else "."
    os.makedirs(out, exist_ok=True)
    for name, shape in (("bar_back", step_back), ("bar_contacts", contacts)):
        write_png(os.path.join(out, name + ".png"), rasterise(13, shape))
        write_png(os.path.join(out, name + "_vga.png"), rasterise(26, shape))


if __name__ == "__main__":
    main()
