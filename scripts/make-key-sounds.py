#!/usr/bin/env python3
"""Synthesises the five key sounds of the letter bar as small PCM WAVE files.

Each is a short click: a sine burst with a fast attack and an exponential decay, 8-bit mono at
11025 Hz so that the resources stay small. The five differ in pitch and length, from a soft tick to a
brighter beep:
  key1.wav  tick,  1800 Hz, 25 ms      key4.wav  blip,   660 Hz, 50 ms
  key2.wav  click, 1200 Hz, 35 ms      key5.wav  beep,  1000 Hz, 80 ms
  key3.wav  tock,   800 Hz, 40 ms

Usage: make-key-sounds.py OUTPUT_FOLDER. The files are committed; run this again only to change them.
"""
import math
import os
import struct
import sys

RATE = 11025
SOUNDS = [("key1.wav", 1800, 25), ("key2.wav", 1200, 35), ("key3.wav", 800, 40),
          ("key4.wav", 660, 50), ("key5.wav", 1000, 80)]


def samples(frequency, milliseconds):
    count = RATE * milliseconds // 1000
    attack = max(1, RATE // 2000)
    out = bytearray()
    for n in range(count):
        envelope = min(1.0, n / attack) * math.exp(-5.0 * n / count)
        value = 0.8 * envelope * math.sin(2 * math.pi * frequency * n / RATE)
        out.append(max(0, min(255, int(round(128 + 127 * value)))))
    return bytes(out)


def write_wave(path, data):
    header = struct.pack("<4sI4s", b"RIFF", 36 + len(data), b"WAVE")
    fmt = struct.pack("<4sIHHIIHH", b"fmt ", 16, 1, 1, RATE, RATE, 1, 8)
    body = struct.pack("<4sI", b"data", len(data)) + data
    with open(path, "wb") as f:
        f.write(header + fmt + body)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    os.makedirs(sys.argv[1], exist_ok=True)
    for name, frequency, milliseconds in SOUNDS:
        write_wave(os.path.join(sys.argv[1], name), samples(frequency, milliseconds))


if __name__ == "__main__":
    main()
