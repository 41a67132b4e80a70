#!/usr/bin/env python3
"""Draws the skin's row icons and the default pictures of a contact, each at 96 and at 192 dpi.

Row icons (ICO, one 32-bit image with alpha and an AND mask each), 16 x 16 and 32 x 32, drawn at the
end of a contact page's rows:
  row_phone   a telephone handset, green;
  row_mail    a closed envelope, blue;
  row_web     a globe with meridians and parallels, blue;
  row_link    two chain links, slate.

Default pictures (24-bit PNG, pure black is transparent where they are drawn), 26 x 26 and 52 x 52,
shown in a contact's list row and page head when it has no photo:
  person           head and shoulders on a blue tile;
  person_flagged   the same with a red flag at the upper right;
  company          an office block on a teal tile.

Every shape is a function inside(x, y) on the unit square; a picture, made for a size in pixels, is a
list of layers painted in order, each a shape and a colour (None cuts the layers below away). Each pixel is sampled on a 6 x 6
grid, so edges are smooth at both sizes and the art is the same.

Usage: make-skin-pictures.py OUTPUT_FOLDER [--preview FOLDER]
  writes row_*.ico, row_*_vga.ico, person*.png, company*.png; with --preview also enlarged PNGs of
  every picture on white, to look at. The files are committed; run this again only to change the art.
"""
import math
import os
import struct
import sys

from drawing import in_polygon, write_png

GRID = 6


# --- shapes ----------------------------------------------------------------------------------------

def circle(cx, cy, r):
    return lambda x, y: (x - cx) ** 2 + (y - cy) ** 2 <= r * r


def ellipse(cx, cy, rx, ry):
    return lambda x, y: ((x - cx) / rx) ** 2 + ((y - cy) / ry) ** 2 <= 1.0


def ellipse_ring(cx, cy, rx, ry, width):
    def inside(x, y):
        outer = ((x - cx) / (rx + width / 2)) ** 2 + ((y - cy) / (ry + width / 2)) ** 2 <= 1.0
        inner = ((x - cx) / (rx - width / 2)) ** 2 + ((y - cy) / (ry - width / 2)) ** 2 <= 1.0
        return outer and not inner
    return inside


def rect(x0, y0, x1, y1):
    return lambda x, y: x0 <= x <= x1 and y0 <= y <= y1


def rounded_rect(x0, y0, x1, y1, r):
    def inside(x, y):
        if not (x0 <= x <= x1 and y0 <= y <= y1):
            return False
        dx = max(x0 + r - x, 0.0, x - (x1 - r))
        dy = max(y0 + r - y, 0.0, y - (y1 - r))
        return dx * dx + dy * dy <= r * r
    return inside


def segment_distance(x, y, a, b):
    ax, ay = a
    bx, by = b
    dx, dy = bx - ax, by - ay
    t = max(0.0, min(1.0, ((x - ax) * dx + (y - ay) * dy) / (dx * dx + dy * dy)))
    return math.hypot(x - (ax + t * dx), y - (ay + t * dy))


def capsule(a, b, r):
    return lambda x, y: segment_distance(x, y, a, b) <= r


def capsule_ring(a, b, r, width):
    return lambda x, y: abs(segment_distance(x, y, a, b) - r) <= width / 2


def line(a, b, width):
    return capsule(a, b, width / 2)


def polygon(points):
    return lambda x, y: in_polygon(x, y, points)


def arc_band(cx, cy, r, width, start, end):
    """A band of the circle of radius r between the angles start and end (degrees, y pointing down)."""
    def inside(x, y):
        if abs(math.hypot(x - cx, y - cy) - r) > width / 2:
            return False
        angle = math.degrees(math.atan2(y - cy, x - cx)) % 360
        return start <= angle <= end
    return inside


def union(*shapes):
    return lambda x, y: any(s(x, y) for s in shapes)


def intersection(*shapes):
    return lambda x, y: all(s(x, y) for s in shapes)


def minus(shape, cut):
    return lambda x, y: shape(x, y) and not cut(x, y)


# --- colours ---------------------------------------------------------------------------------------

def hex_colour(text):
    return (int(text[0:2], 16), int(text[2:4], 16), int(text[4:6], 16))


def solid(text):
    c = hex_colour(text)
    return lambda x, y: c


def vertical(top, bottom):
    a, b = hex_colour(top), hex_colour(bottom)
    return lambda x, y: tuple(round(a[i] + (b[i] - a[i]) * min(1.0, max(0.0, y))) for i in range(3))


# --- pictures --------------------------------------------------------------------------------------

def phone(size):
    green = vertical("3DB04F", "1E7A31")
    # The handle: a thick arc bulging to the upper left; the ear and mouth pieces at its ends stand
    # out to the lower right, as on a handset seen from the side.
    handle = arc_band(0.80, 0.80, 0.58, 0.19, 180, 270)
    ear = capsule((0.70, 0.17), (0.86, 0.33), 0.14)
    mouth = capsule((0.17, 0.70), (0.33, 0.86), 0.14)
    return [(union(handle, ear, mouth), green)]


def mail(size):
    border = 0.075
    body = rounded_rect(0.04, 0.18, 0.96, 0.82, 0.06)
    inner = rounded_rect(0.04 + border, 0.18 + border, 0.96 - border, 0.82 - border, 0.02)
    flap = union(line((0.10, 0.25), (0.5, 0.56), border), line((0.90, 0.25), (0.5, 0.56), border))
    return [
        (body, solid("2A5DA8")),
        (inner, vertical("FFFFFF", "DCE7F7")),
        (intersection(flap, inner), solid("2A5DA8")),
    ]


def web(size):
    # The lines are one pixel wide at 16 x 16 and two at 32 x 32; the straight ones cover whole
    # pixels, so at 16 x 16 the globe moves half a pixel up and left.
    width = 1 / 16
    c = 0.5 - (0.5 / size if (size // 16) % 2 else 0.0)
    r = 0.46
    disc = circle(c, c, r)
    lines = union(
        ellipse_ring(c, c, 0.19, r, width),
        line((c, 0.0), (c, 1.0), width),
        line((0.0, c), (1.0, c), width),
        line((0.0, c - 0.25), (1.0, c - 0.25), width),
        line((0.0, c + 0.25), (1.0, c + 0.25), width),
    )
    return [
        (disc, vertical("5AA2EC", "1F5FB4")),
        (intersection(lines, disc), solid("D8EAFB")),
        (minus(disc, circle(c, c, r - 1.2 / 16)), solid("1C4F96")),
    ]


def link(size):
    slate = solid("46586E")
    radius, width, gap = 0.15, 0.10, 0.09
    first_axis = ((0.21, 0.79), (0.45, 0.55))
    second_axis = ((0.55, 0.45), (0.79, 0.21))
    first = capsule_ring(*first_axis, radius, width)
    second = capsule_ring(*second_axis, radius, width)
    # The links cross twice near the middle: the second passes over the first at the upper left
    # crossing and under it at the lower right one, with a thin cut of background round the one on top.
    middle = circle(0.5, 0.5, 0.22)
    upper_left = lambda x, y: x + y < 1.0
    lower_right = lambda x, y: x + y >= 1.0
    return [
        (first, slate),
        (intersection(capsule_ring(*second_axis, radius, width + 2 * gap), upper_left, middle), None),
        (second, slate),
        (intersection(capsule_ring(*first_axis, radius, width + 2 * gap), lower_right, middle), None),
        (intersection(first, lower_right, middle), slate),
    ]


def tile(top, bottom):
    return (rounded_rect(0.0, 0.0, 1.0, 1.0, 0.16), vertical(top, bottom))


def person_shape():
    head = circle(0.5, 0.37, 0.175)
    ex, ey = 0.34, 0.30
    shoulders = lambda x, y: ((x - 0.5) / ex) ** 2 + ((y - 0.96) / ey) ** 2 <= 1.0
    neck_gap = minus(circle(0.5, 0.37, 0.23), head)
    return union(head, minus(shoulders, neck_gap))


def person(size):
    return [
        tile("9DB6D6", "5F7FA8"),
        (intersection(person_shape(), rounded_rect(0.0, 0.0, 1.0, 1.0, 0.16)), vertical("FFFFFF", "E3EAF3")),
    ]


def person_flagged(size):
    pole = rect(0.73, 0.06, 0.78, 0.44)
    cloth = polygon([(0.77, 0.06), (0.98, 0.145), (0.77, 0.23)])
    flag = union(pole, cloth)
    halo = lambda x, y: any(flag(x + dx, y + dy) for dx, dy in
                            ((0.04, 0), (-0.04, 0), (0, 0.04), (0, -0.04), (0.03, 0.03), (-0.03, -0.03),
                             (0.03, -0.03), (-0.03, 0.03)))
    return person(size) + [
        (intersection(halo, rounded_rect(0.0, 0.0, 1.0, 1.0, 0.16)), solid("FFFFFF")),
        (cloth, solid("D8322E")),
        (pole, solid("5A4632")),
    ]


def company(size):
    tower = rect(0.20, 0.16, 0.58, 0.90)
    annex = rect(0.58, 0.42, 0.82, 0.90)
    windows = []
    for row in range(5):
        y = 0.23 + row * 0.12
        for col in range(2):
            x = 0.27 + col * 0.16
            windows.append(rect(x, y, x + 0.08, y + 0.07))
    for row in range(3):
        y = 0.49 + row * 0.12
        windows.append(rect(0.65, y, 0.74, y + 0.07))
    return [
        tile("8CC7C2", "3F8C88"),
        (union(tower, annex), vertical("FFFFFF", "E6EEEE")),
        (union(*windows), solid("4E8F8B")),
    ]


ICONS = [("row_phone", phone), ("row_mail", mail), ("row_web", web), ("row_link", link)]
PICTURES = [("person", person), ("person_flagged", person_flagged), ("company", company)]


# --- rendering -------------------------------------------------------------------------------------

def render(size, layers):
    """Rows of (r, g, b, coverage) with coverage in 0..1 and the colour of the covered samples."""
    rows = []
    for py in range(size):
        row = []
        for px in range(size):
            total = [0, 0, 0]
            hits = 0
            for sy in range(GRID):
                for sx in range(GRID):
                    x = (px + (sx + 0.5) / GRID) / size
                    y = (py + (sy + 0.5) / GRID) / size
                    colour = None
                    for inside, paint in layers:
                        if inside(x, y):
                            colour = paint(x, y) if paint else None
                    if colour is not None:
                        hits += 1
                        for i in range(3):
                            total[i] += colour[i]
            if hits:
                row.append((round(total[0] / hits), round(total[1] / hits), round(total[2] / hits),
                            hits / (GRID * GRID)))
            else:
                row.append((0, 0, 0, 0.0))
        rows.append(row)
    return rows


def picture_pixels(rendered):
    """Opaque where at least a quarter is covered, the edge blended with white; pure black elsewhere,
    which the drawing takes as transparent. No painted pixel is pure black."""
    rows = []
    for row in rendered:
        out = []
        for r, g, b, cover in row:
            if cover < 0.25:
                out.append((0, 0, 0))
                continue
            px = tuple(round(c * cover + 255 * (1 - cover)) for c in (r, g, b))
            out.append(px if px != (0, 0, 0) else (8, 8, 8))
        rows.append(out)
    return rows


def write_ico(path, rendered):
    """One 32-bit image: colours with alpha from the coverage, and an AND mask that is set only where
    nothing is painted, so that a screen without alpha shows every painted pixel."""
    size = len(rendered)
    xor = bytearray()
    for row in reversed(rendered):  # bottom-up
        for r, g, b, cover in row:
            alpha = round(cover * 255)
            xor += bytes((b, g, r, alpha)) if alpha else bytes((0, 0, 0, 0))
    mask_stride = ((size + 31) // 32) * 4
    mask = bytearray()
    for row in reversed(rendered):
        bits = bytearray(mask_stride)
        for x, (_, _, _, cover) in enumerate(row):
            if round(cover * 255) == 0:
                bits[x // 8] |= 0x80 >> (x % 8)
        mask += bits
    header = struct.pack("<IiiHHIIiiII", 40, size, size * 2, 1, 32, 0, len(xor) + len(mask), 0, 0, 0, 0)
    image = header + bytes(xor) + bytes(mask)
    directory = struct.pack("<HHH", 0, 1, 1)
    entry = struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), 6 + 16)
    with open(path, "wb") as f:
        f.write(directory + entry + image)


def preview(path, rendered, scale):
    rows = []
    for row in rendered:
        out = []
        for r, g, b, cover in row:
            out.append(tuple(round(c * cover + 255 * (1 - cover)) for c in (r, g, b)))
        for _ in range(scale):
            rows.append([px for px in out for _ in range(scale)])
    write_png(path, rows)


def output_folders(args):
    """OUTPUT_FOLDER [--preview FOLDER] from the command line, both made: (output, preview or None)."""
    args = list(args)
    preview_folder = None
    if "--preview" in args:
        at = args.index("--preview")
        preview_folder = args[at + 1]
        del args[at:at + 2]
    out = args[0] if args else "."
    os.makedirs(out, exist_ok=True)
    if preview_folder:
        os.makedirs(preview_folder, exist_ok=True)
    return out, preview_folder


def main():
    out, preview_folder = output_folders(sys.argv[1:])
    for name, art in ICONS:
        for suffix, size in (("", 16), ("_vga", 32)):
            rendered = render(size, art(size))
            write_ico(os.path.join(out, name + suffix + ".ico"), rendered)
            if preview_folder:
                preview(os.path.join(preview_folder, name + suffix + ".png"), rendered, 8 if size == 16 else 4)
    for name, art in PICTURES:
        for suffix, size in (("", 26), ("_vga", 52)):
            rendered = render(size, art(size))
            write_png(os.path.join(out, name + suffix + ".png"), picture_pixels(rendered))
            if preview_folder:
                preview(os.path.join(preview_folder, name + suffix + ".png"), rendered, 6 if size == 26 else 3)


if __name__ == "__main__":
    main()
