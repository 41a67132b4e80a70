#!/usr/bin/env python3
"""Draws the marks of the contact list's company headers, a triangle pointing down for an open group
and one pointing right for a closed group, at 8 x 8 and at 16 x 16 for high-resolution screens, with the
shapes, the renderer and the ICO writer of make-skin-pictures.py.

Each icon goes into the resources as its two parts, so that its image can carry a resource number of
its own: NAME.iconimage (the image of an ICO file: header, colours with alpha, AND mask) and
NAME.icongroup (the directory that points at that image by number). An ICON statement would number
its images from 1 in every resource script, and two scripts would then give two images the same number.

Usage: make-group-icons.py OUTPUT_FOLDER [--preview FOLDER]
  writes group_expanded[_vga] and group_collapsed[_vga] in both parts; with --preview also enlarged
  PNGs on white, to look at. The files are committed; run this again only to change the art.
"""
import os
import runpy
import struct
import sys
import types
import tempfile

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, here)
skin = types.SimpleNamespace(**runpy.run_path(os.path.join(here, "make-skin-pictures.py")))

# The resource numbers of the images, as item/resources/ListIds.h gives them.
IMAGE_IDS = {
    "group_expanded": 1840,
    "group_expanded_vga": 1380,
    "group_collapsed": 1860,
    "group_collapsed_vga": 1400,
}


def expanded(size):
    # Pointing down, filling the width; a pixel of room at the bottom at both sizes.
    return [(skin.polygon([(0.0, 0.19), (1.0, 0.19), (0.5, 0.88)]), skin.vertical("4F6F9F", "2B4A78"))]


def collapsed(size):
    return [(skin.polygon([(0.19, 0.0), (0.88, 0.5), (0.19, 1.0)]), skin.vertical("4F6F9F", "2B4A78"))]


ICONS = [("group_expanded", expanded), ("group_collapsed", collapsed)]


def split_ico(data, image_id):
    """The image of a one-image ICO file, and the group directory that names it by `image_id`."""
    width, height, colours, reserved, planes, bits, size, offset = struct.unpack("<BBBBHHII", data[6:22])
    image = data[offset:offset + size]
    group = struct.pack("<HHH", 0, 1, 1) + struct.pack("<BBBBHHIH", width, height, colours, reserved, planes,
                                                       bits, size, image_id)
    return image, group


def main():
    out, preview_folder = skin.output_folders(sys.argv[1:])
    for name, art in ICONS:
        for suffix, size in (("", 8), ("_vga", 16)):
            full = name + suffix
            rendered = skin.render(size, art(size))
            with tempfile.TemporaryDirectory() as scratch:
                path = os.path.join(scratch, full + ".ico")
                skin.write_ico(path, rendered)
                with open(path, "rb") as f:
                    image, group = split_ico(f.read(), IMAGE_IDS[full])
            with open(os.path.join(out, full + ".iconimage"), "wb") as f:
                f.write(image)
            with open(os.path.join(out, full + ".icongroup"), "wb") as f:
                f.write(group)
            if preview_folder:
                skin.preview(os.path.join(preview_folder, full + ".png"), rendered, 16 if size == 8 else 8)


if __name__ == "__main__":
    main()
