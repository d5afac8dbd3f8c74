#!/usr/bin/env python3
"""Draws the icons of the program with ImageMagick and packs them into .ico files.

The drawings are on a grid of 64 x 64 and are rendered anew for each size. The result is kept in the
repository, so that a build needs no ImageMagick; run this again after a change to a drawing.
"""
import math
import os
import struct
import subprocess
import sys

GRID = 64
OVERSAMPLING = 8
STICK_SIZES = (16, 20, 24, 32, 40, 48, 64, 256)
BUTTON_SIZES = (16, 20, 24, 32)

ARROW = "#E4701E"
BODY = "#1F5FA8"
BODY_EDGE = "#153F70"
METAL = "#D5DBE1"
METAL_EDGE = "#5B6670"
HOLE = "#3C444C"


def point(angle, radius):
    turn = math.radians(angle)
    return GRID / 2 + radius * math.cos(turn), GRID / 2 + radius * math.sin(turn)


def arrow(start, end, radius, width, head):
    """A clockwise arrow: a band from angle start to end, and a head of the given length in degrees."""
    steps = [start + (end - start) * i / 24 for i in range(25)]
    band = [point(angle, radius + width / 2) for angle in steps]
    band += [point(end, radius + 1.5 * width), point(end + head, radius),
             point(end, radius - 1.5 * width)]
    band += [point(angle, radius - width / 2) for angle in reversed(steps)]
    corners = " ".join(f"{x:.3f},{y:.3f}" for x, y in band)
    return f"stroke none fill {ARROW} polygon {corners} "


def stick(edge):
    return (f"stroke {METAL_EDGE} stroke-width {edge} fill {METAL} rectangle 25,5 39,22 "
            f"stroke none fill {HOLE} rectangle 28.5,10 31,15 rectangle 33,10 35.5,15 "
            f"stroke {BODY_EDGE} stroke-width {edge} fill {BODY} roundrectangle 21,21 43,59 4,4 "
            f"stroke none fill #8FBCEB roundrectangle 26,26 38,30 1,1 ")


def program_icon(size):
    small = size < 32
    width = 6 if small else 5
    radius = 25 if small else 24.5
    head = 30 if small else 28
    turning = arrow(-60, 18, radius, width, head) + arrow(120, 198, radius, width, head)
    return turning + stick(2.5 if small else 1.5)


def restore_icon(_size):
    """One arrow around a disk entry: the restore."""
    return (arrow(-130, 140, 22, 8, 40) +
            f"stroke none fill {BODY} roundrectangle 24,24 40,40 3,3 ")


def render(drawing, size):
    """The drawing as RGBA rows, and as PNG."""
    big = size * OVERSAMPLING
    scale = big / GRID
    common = ["convert", "-size", f"{big}x{big}", "xc:none", "-draw",
              f"scale {scale},{scale} {drawing}", "-filter", "Box", "-resize", f"{size}x{size}",
              "-strip", "-define", "png:exclude-chunks=date,time"]
    pixels = subprocess.run(common + ["-depth", "8", "rgba:-"], check=True, capture_output=True)
    png = subprocess.run(common + ["png32:-"], check=True, capture_output=True)
    return pixels.stdout, png.stdout


def bitmap(pixels, size):
    """The rows as an icon's bitmap: header, colours from the bottom up, and the old 1-bit mask."""
    header = struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, 0, 0, 0, 0, 0)
    colours, mask = b"", b""
    for row in range(size - 1, -1, -1):
        line = pixels[row * size * 4:(row + 1) * size * 4]
        bits = bytearray((size + 31) // 32 * 4)
        for column in range(size):
            red, green, blue, alpha = line[column * 4:column * 4 + 4]
            colours += bytes((blue, green, red, alpha))
            if alpha < 128:
                bits[column // 8] |= 0x80 >> column % 8
        mask += bytes(bits)
    return header + colours + mask


def pack(path, draw, sizes):
    images = []
    for size in sizes:
        pixels, png = render(draw(size), size)
        images.append(png if size >= 256 else bitmap(pixels, size))
    place = 6 + 16 * len(images)
    head = struct.pack("<HHH", 0, 1, len(images))
    for size, image in zip(sizes, images):
        head += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), place)
        place += len(image)
    with open(path, "wb") as target:
        target.write(head + b"".join(images))


if __name__ == "__main__":
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.join(
        os.path.dirname(os.path.abspath(__file__)), "..", "src", "app")
    pack(os.path.join(folder, "Rotate_TSD.ico"), program_icon, STICK_SIZES)
    pack(os.path.join(folder, "restore.ico"), restore_icon, BUTTON_SIZES)
