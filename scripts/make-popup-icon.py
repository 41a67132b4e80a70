#!/usr/bin/env python3
"""Draws the popup's icon, a card of contacts on a blue tile, at 16 x 16 and at 32 x 32 for
high-resolution screens, with the shapes and the ICO writer of make-skin-pictures.py.

Usage: make-popup-icon.py OUTPUT_FOLDER   writes popup.ico and popup_vga.ico
"""
import os
import runpy
import sys
import types

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, here)
skin = types.SimpleNamespace(**runpy.run_path(os.path.join(here, "make-skin-pictures.py")))


def popup(size):
    tile = skin.rounded_rect(0.03, 0.03, 0.97, 0.97, 0.18)
    card = skin.rounded_rect(0.2, 0.22, 0.8, 0.82, 0.08)
    head = skin.circle(0.5, 0.42, 0.11)
    shoulders = skin.intersection(skin.ellipse(0.5, 0.74, 0.2, 0.16), skin.rect(0.2, 0.5, 0.8, 0.72))
    return [
        (tile, skin.vertical("4A8BD6", "1E4F9A")),
        (card, skin.solid("FFFFFF")),
        (head, skin.solid("2C6AB8")),
        (shoulders, skin.solid("2C6AB8")),
    ]


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else "."
    os.makedirs(out, exist_ok=True)
    for suffix, size in (("", 16), ("_vga", 32)):
        skin.write_ico(os.path.join(out, "popup" + suffix + ".ico"), skin.render(size, popup(size)))


if __name__ == "__main__":
    main()
