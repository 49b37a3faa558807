#!/usr/bin/env python3
"""Draws the program's icon: a database drum with a tick over it.

    python3 tools/make_icon.py ui/TolvaneForAccess.ico

Needs nothing but Python. The icon is committed; run this only to change it.
"""
import math
import struct
import sys
import zlib

SIZES = (16, 20, 24, 32, 40, 48, 64, 256)
SAMPLES = 4  # a side, of each pixel

DRUM = (38, 92, 160)
DRUM_LID = (120, 170, 222)
GAP = (214, 229, 245)
DISC = (32, 134, 70)
TICK = (255, 255, 255)


def in_ellipse(x, y, cx, cy, rx, ry):
    return ((x - cx) / rx) ** 2 + ((y - cy) / ry) ** 2 <= 1


def near_line(x, y, x1, y1, x2, y2, width):
    length = (x2 - x1) ** 2 + (y2 - y1) ** 2
    t = max(0.0, min(1.0, ((x - x1) * (x2 - x1) + (y - y1) * (y2 - y1)) / length))
    return math.hypot(x - x1 - t * (x2 - x1), y - y1 - t * (y2 - y1)) <= width / 2


def colour_at(x, y):
    """The colour of a point of the unit square; None where the icon is transparent."""
    if in_ellipse(x, y, .71, .71, .27, .27):
        if near_line(x, y, .58, .72, .68, .82, .085) or near_line(x, y, .68, .82, .85, .60, .085):
            return TICK
        return DISC
    if in_ellipse(x, y, .71, .71, .31, .31):
        return None
    cx, rx, ry, top, bottom = .44, .38, .12, .17, .81
    if in_ellipse(x, y, cx, top, rx, ry):
        return DRUM_LID
    if abs(x - cx) > rx:
        return None
    sag = ry * math.sqrt(max(0.0, 1 - ((x - cx) / rx) ** 2))
    if y < top or y > bottom + sag:
        return None
    for seam in (.38, .60):
        if abs(y - seam - sag) < .025:
            return GAP
    return DRUM


def draw(size):
    """Rows of (red, green, blue, alpha), top down."""
    rows = []
    for py in range(size):
        row = []
        for px in range(size):
            hits = [c for c in (colour_at((px + (i + .5) / SAMPLES) / size, (py + (j + .5) / SAMPLES) / size)
                                for j in range(SAMPLES) for i in range(SAMPLES)) if c]
            count = max(1, len(hits))
            row.append(tuple(sum(c[k] for c in hits) // count for k in range(3)) +
                       (255 * len(hits) // SAMPLES ** 2,))
        rows.append(row)
    return rows


def as_png(rows):
    size = len(rows)
    raw = b''.join(b'\0' + bytes(v for pixel in row for v in pixel) for row in rows)

    def chunk(kind, data):
        return struct.pack('>I', len(data)) + kind + data + struct.pack('>I', zlib.crc32(kind + data))
    return (b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', size, size, 8, 6, 0, 0, 0)) +
            chunk(b'IDAT', zlib.compress(raw, 9)) + chunk(b'IEND', b''))


def as_bitmap(rows):
    size = len(rows)
    pixels = b''.join(bytes((b, g, r, a)) for row in reversed(rows) for r, g, b, a in row)
    mask = b'\0' * ((size + 31) // 32 * 4 * size)
    return struct.pack('<IiiHHIIiiII', 40, size, size * 2, 1, 32, 0, len(pixels) + len(mask), 0, 0, 0, 0) + pixels + mask


def main():
    images = [(size, as_png(rows) if size > 48 else as_bitmap(rows)) for size, rows in ((s, draw(s)) for s in SIZES)]
    offset = 6 + 16 * len(images)
    out = struct.pack('<HHH', 0, 1, len(images))
    for size, data in images:
        out += struct.pack('<BBBBHHII', size % 256, size % 256, 0, 0, 1, 32, len(data), offset)
        offset += len(data)
    with open(sys.argv[1], 'wb') as icon:
        icon.write(out + b''.join(data for _, data in images))


main()
