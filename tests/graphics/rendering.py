#!/usr/bin/env python3
"""Renders a drawing of every operator and checks its pixels: ink of the expected amount and colour in each expected
box, none outside; the drawing's bytes are those of the golden file.

usage: rendering.py PROGRAM AI2PNG GOLDEN
"""
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import zlib

SCALE = 2  # dots a point


def decode_png(path):
    """Width, height and rows of an 8-bit RGB PNG without interlacing."""
    data = open(path, "rb").read()
    at, packed = 8, b""
    while at < len(data):
        (length,), kind = struct.unpack(">I", data[at:at + 4]), data[at + 4:at + 8]
        chunk = data[at + 8:at + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", chunk)
            assert (depth, colour, interlace) == (8, 2, 0)
        elif kind == b"IDAT":
            packed += chunk
        at += length + 12
    raw, stride = zlib.decompress(packed), 3 * width
    rows, previous = [], bytearray(stride)
    for y in range(height):
        kind, row = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for i in range(stride if kind else 0):
            a = row[i - 3] if i >= 3 else 0
            b, c = previous[i], previous[i - 3] if i >= 3 else 0
            if kind == 1:
                guess = a
            elif kind == 2:
                guess = b
            elif kind == 3:
                guess = (a + b) // 2
            else:
                p = a + b - c
                guess = min((a, b, c), key=lambda value: abs(p - value))
            row[i] = (row[i] + guess) & 255
        rows.append(row)
        previous = row
    return width, height, rows


def main(program, ai2png, golden):
    if not shutil.which("gs"):
        print("no Ghostscript on this machine: not rendered")
        return 77
    complaints = []
    with tempfile.TemporaryDirectory() as folder:
        drawing, picture = os.path.join(folder, "every.ai"), os.path.join(folder, "every.png")
        cells = subprocess.run([program, drawing], check=True, capture_output=True, text=True).stdout.splitlines()
        if open(drawing, "rb").read() != open(golden, "rb").read():
            complaints.append(f"the drawing differs from {golden}")
        subprocess.run([ai2png, drawing, picture, str(72 * SCALE)], check=True)
        width, height, rows = decode_png(picture)
    if (width, height) != (576 * SCALE, 720 * SCALE):
        complaints.append(f"the picture is {width} x {height}")

    seen = 0
    for line in cells:
        if line.startswith("AIPS finished"):
            continue
        name, *numbers = line.split()
        x0, y0, x1, y1 = (SCALE * float(number) for number in numbers[:4])
        least, most = (SCALE * SCALE * float(number) for number in numbers[4:6])
        colour = list(map(int, numbers[6:]))
        amount, votes = 0.0, {}
        for y in range(int(height - y1 - 0.5), int(height - y0 + 1.5)):
            for x in range(int(x0 - 0.5), int(x1 + 1.5)):
                pixel = bytes(rows[y][3 * x:3 * x + 3])
                if pixel != b"\xff\xff\xff":
                    votes[pixel] = votes.get(pixel, 0) + 1
                    rows[y][3 * x:3 * x + 3] = b"\xff\xff\xff"
                amount += pixel != b"\xff\xff\xff"
        # A pixel that is half covered counts fully, so there may be one more for each pixel of the outline.
        if not least <= amount <= most + 2 * (x1 - x0 + y1 - y0):
            complaints.append(f"{name}: {amount:.0f} dots of ink, not {least:.0f} to {most:.0f}")
        main_colour = list(max(votes, key=votes.get)) if votes else None
        if colour[0] >= 0 and (main_colour is None or max(abs(a - b) for a, b in zip(main_colour, colour)) > 2):
            complaints.append(f"{name}: most ink is {main_colour}, not {colour}")
        seen += 1
    stray = sum(1 for row in rows for byte in row if byte != 255)
    if stray:
        complaints.append(f"{stray} bytes of ink outside every box")
    print("\n".join(complaints) or f"{seen} operators leave their ink where it belongs")
    return bool(complaints) or seen == 0


sys.exit(main(*sys.argv[1:]))
