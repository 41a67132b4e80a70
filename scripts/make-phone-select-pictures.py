#!/usr/bin/env python3
"""Draws the pictures of the phone chooser, each at 96 and at 192 dpi (24-bit PNG).

  phonesel_head     the heading's picture, 60 x 45: a green disc with a white handset on a pale band
                    that runs out to the right; its rightmost 5 columns are all alike, since the
                    chooser repeats them to the window's right edge.
  phonesel_dial     a button with a green handset, } each 128 x 24: the normal face on the left half,
  phonesel_sms      a button with an envelope,     } the pressed one on the right half; pure black
  phonesel_cancel   a button with a red cross,     } around the rounded face is transparent.

The shapes are those of make-skin-pictures.py, measured in units of the picture's height; every pixel
is sampled on a 6 x 6 grid.

Usage: make-phone-select-pictures.py OUTPUT_FOLDER [--preview FOLDER]
  writes phonesel_*.png and phonesel_*_vga.png; with --preview also enlarged copies to look at. The
  files are committed; run this again only to change the art.
"""
import importlib.util
import os
import sys

from drawing import write_png

_spec = importlib.util.spec_from_file_location(
    "skin_pictures", os.path.join(os.path.dirname(os.path.abspath(__file__)), "make-skin-pictures.py"))
skin = importlib.util.module_from_spec(_spec)
_spec.loader.exec_module(skin)

GRID = 6
BLACK = (0, 0, 0)


def render(width, height, layers, background):
    """Rows of (r, g, b): `layers` of (shape, colour) painted in order over `background`, both
    functions of (x, y) in units of the height."""
    rows = []
    for py in range(height):
        row = []
        for px in range(width):
            total = [0, 0, 0]
            for i in range(GRID):
                for j in range(GRID):
                    x = (px + (i + 0.5) / GRID) / height
                    y = (py + (j + 0.5) / GRID) / height
                    colour = background(x, y)
                    for shape, paint in layers:
                        if shape(x, y):
                            colour = paint(x, y)
                    for k in range(3):
                        total[k] += colour[k]
            row.append(tuple(round(t / (GRID * GRID)) for t in total))
        rows.append(row)
    return rows


def moved(shape, dx, dy, scale=1.0):
    """`shape` drawn on the unit square, put at (dx, dy) and `scale` units wide."""
    return lambda x, y: shape((x - dx) / scale, (y - dy) / scale)


def handset():
    handle = skin.arc_band(0.80, 0.80, 0.58, 0.19, 180, 270)
    ear = skin.capsule((0.70, 0.17), (0.86, 0.33), 0.14)
    mouth = skin.capsule((0.17, 0.70), (0.33, 0.86), 0.14)
    return skin.union(handle, ear, mouth)


def envelope():
    body = skin.minus(skin.rect(0.04, 0.18, 0.96, 0.82), skin.rect(0.12, 0.26, 0.88, 0.74))
    flap = skin.union(skin.line((0.08, 0.22), (0.5, 0.56), 0.09), skin.line((0.92, 0.22), (0.5, 0.56), 0.09))
    return skin.union(body, flap)


def cross():
    return skin.union(skin.line((0.18, 0.18), (0.82, 0.82), 0.17), skin.line((0.82, 0.18), (0.18, 0.82), 0.17))


def head(width, height):
    band = skin.vertical("FFFFFF", "DCE5F4")
    rule = skin.solid("8FA6DB")
    disc = skin.circle(0.52, 0.5, 0.36)
    layers = [
        (skin.rect(0, 0.93, width / height, 1.0), rule),
        (skin.circle(0.52, 0.5, 0.39), skin.solid("1E6B2C")),
        (disc, skin.vertical("55C766", "1E7A31")),
        (moved(handset(), 0.29, 0.27, 0.46), skin.solid("FFFFFF")),
    ]
    return render(width, height, layers, band)


def button(face_width, height, glyph, glyph_colour):
    """The normal face beside the pressed one."""
    w = face_width / height
    layers = []
    for index, (top, bottom, shift) in enumerate((("FDFDFF", "C3D1EC", 0.0), ("9CB1DA", "E2E9F7", 0.05))):
        left = index * w
        outline = skin.rounded_rect(left + 0.03, 0.03, left + w - 0.03, 0.97, 0.32)
        face = skin.rounded_rect(left + 0.08, 0.08, left + w - 0.08, 0.92, 0.27)
        layers.append((outline, skin.solid("3F5587")))
        layers.append((face, skin.vertical(top, bottom)))
        layers.append((moved(glyph, left + w / 2 - 0.34 + shift, 0.16 + shift, 0.68), glyph_colour))
    return render(face_width * 2, height, layers, lambda x, y: BLACK)


PICTURES = {
    "phonesel_head": lambda scale: head(60 * scale, 45 * scale),
    "phonesel_dial": lambda scale: button(64 * scale, 24 * scale, handset(), skin.vertical("3DB04F", "1E7A31")),
    "phonesel_sms": lambda scale: button(64 * scale, 24 * scale, envelope(), skin.solid("2E5AAC")),
    "phonesel_cancel": lambda scale: button(64 * scale, 24 * scale, cross(), skin.vertical("E0483F", "A8231D")),
}


def enlarged(rows, factor):
    out = []
    for row in rows:
        wide = [px for px in row for _ in range(factor)]
        out.extend([wide] * factor)
    return out


def main(argv):
    if len(argv) < 2:
        print(__doc__)
        return 2
    folder = argv[1]
    preview = argv[argv.index("--preview") + 1] if "--preview" in argv else None
    for name, draw in PICTURES.items():
        for scale, suffix in ((1, ""), (2, "_vga")):
            rows = draw(scale)
            write_png(os.path.join(folder, name + suffix + ".png"), rows)
            if preview:
                write_png(os.path.join(preview, name + suffix + ".png"), enlarged(rows, 4 // scale))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
