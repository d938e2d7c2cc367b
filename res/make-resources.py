#!/usr/bin/env python3
"""Writes the frame's bitmaps (BM000..BM021, 16x16, 24-bit) and drag cursors (cDrop, cNoDrop).

The pictures are plain glyphs drawn here: a coloured tile per bitmap and two arrow cursors,
one with a plus sign (drop allowed) and one with a bar (no drop)."""
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))


def bmp(width, height, pixel):
    rows = []
    pad = (4 - (width * 3) % 4) % 4
    for y in range(height - 1, -1, -1):
        row = b"".join(struct.pack("<BBB", *pixel(x, y)[::-1]) for x in range(width))
        rows.append(row + b"\0" * pad)
    data = b"".join(rows)
    info = struct.pack("<IiiHHIIiiII", 40, width, height, 1, 24, 0, len(data), 2835, 2835, 0, 0)
    head = struct.pack("<2sIHHI", b"BM", 14 + len(info) + len(data), 0, 0, 14 + len(info))
    return head + info + data


def tile(n):
    hue = [(0x55, 0x89, 0xC4), (0xC4, 0x55, 0x55), (0x55, 0xA0, 0x55), (0xC4, 0xA0, 0x30)][n % 4]

    def pixel(x, y):
        if x in (0, 15) or y in (0, 15):
            return (0x40, 0x40, 0x40)
        # n in binary as dots on the second row keeps the tiles apart at a glance
        if y == 2 and 2 <= x < 7 and (n >> (x - 2)) & 1:
            return (0xFF, 0xFF, 0xFF)
        return hue
    return bmp(16, 16, pixel)


def cursor(mark):
    size = 32
    arrow = set()
    for y in range(16):
        for x in range(y // 2 + 1):
            arrow.add((x, y))

    def inked(x, y):
        if (x, y) in arrow:
            return True
        if mark == "plus":
            return (x == 22 and 16 <= y <= 26) or (y == 21 and 17 <= x <= 27)
        return (17 <= x <= 27) and y in (20, 21, 22)

    xor_rows, and_rows = [], []
    for y in range(size - 1, -1, -1):
        xo, an = 0, 0
        for x in range(size):
            bit = 1 << (31 - x)
            if not inked(x, y):
                an |= bit
        xor_rows.append(struct.pack(">I", xo))
        and_rows.append(struct.pack(">I", an))
    info = struct.pack("<IiiHHIIiiII", 40, size, size * 2, 1, 1, 0, 0, 0, 0, 2, 0)
    palette = struct.pack("<BBBBBBBB", 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0)
    image = info + palette + b"".join(xor_rows) + b"".join(and_rows)
    header = struct.pack("<HHH", 0, 2, 1)
    entry = struct.pack("<BBBBHHII", size, size, 2, 0, 0, 0, len(image), 6 + 16)
    return header + entry + image


def main():
    for n in range(22):
        with open(os.path.join(HERE, "BM%03d.bmp" % n), "wb") as f:
            f.write(tile(n))
    with open(os.path.join(HERE, "cDrop.cur"), "wb") as f:
        f.write(cursor("plus"))
    with open(os.path.join(HERE, "cNoDrop.cur"), "wb") as f:
        f.write(cursor("bar"))


if __name__ == "__main__":
    main()
