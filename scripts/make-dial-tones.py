#!/usr/bin/env python3
"""Synthesises the twelve dial tones of the item as PCM WAVE files, at build time.

Each tone is the sum of the two sine waves of its key on a telephone keypad (one of the low group,
697, 770, 852 or 941 Hz, and one of the high group, 1209, 1336 or 1477 Hz), 16-bit mono at 8000 Hz,
1601 samples long (about 200 ms), with 5 ms ramps at both ends against clicks. Every file has the
same size, 3246 bytes: the 44 bytes of the header and 3202 bytes of samples.

Usage: make-dial-tones.py OUTPUT_FOLDER   writes tone_0.wav ... tone_9.wav, tone_star.wav, tone_hash.wav
"""
import math
import os
import struct
import sys

RATE = 8000
SAMPLES = 1601
RAMP = RATE * 5 // 1000
LOW = {"1": 697, "2": 697, "3": 697, "4": 770, "5": 770, "6": 770,
       "7": 852, "8": 852, "9": 852, "star": 941, "0": 941, "hash": 941}
HIGH = {"1": 1209, "2": 1336, "3": 1477, "4": 1209, "5": 1336, "6": 1477,
        "7": 1209, "8": 1336, "9": 1477, "star": 1209, "0": 1336, "hash": 1477}


def samples(low, high):
    out = bytearray()
    for n in range(SAMPLES):
        envelope = min(1.0, n / RAMP, (SAMPLES - 1 - n) / RAMP)
        value = 0.45 * envelope * (math.sin(2 * math.pi * low * n / RATE) +
                                   math.sin(2 * math.pi * high * n / RATE))
        out += struct.pack("<h", int(round(32767 * max(-1.0, min(1.0, value)))))
    return bytes(out)


def write_wave(path, data):
    header = struct.pack("<4sI4s", b"RIFF", 36 + len(data), b"WAVE")
    fmt = struct.pack("<4sIHHIIHH", b"fmt ", 16, 1, 1, RATE, RATE * 2, 2, 16)
    body = struct.pack("<4sI", b"data", len(data)) + data
    # Written beside and moved in place, so that a build never reads half a file.
    with open(path + ".part", "wb") as f:
        f.write(header + fmt + body)
    os.replace(path + ".part", path)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    for key in LOW:
        write_wave(os.path.join(folder, "tone_%s.wav" % key), samples(LOW[key], HIGH[key]))


if __name__ == "__main__":
    main()
