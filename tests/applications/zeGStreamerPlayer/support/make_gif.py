#!/usr/bin/python3
"""Writes an animated GIF of 200 by 100 pixels: green and blue take turns, for as long as is asked.

make_gif.py FILE MILLISECONDS  (no installed program can write one)
"""
import struct
import sys

WIDTH, HEIGHT, GREEN, BLUE = 200, 100, 0, 1
CLEAR, END = 128, 129  # with seven bits a colour, so that every code is a byte


def picture(colour, milliseconds):
    codes = bytearray()
    for first in range(0, WIDTH * HEIGHT, 100):
        codes.append(CLEAR)  # before the codes grow longer
        codes += bytes([colour]) * min(100, WIDTH * HEIGHT - first)
    codes.append(END)
    blocks = b"".join(bytes([len(part)]) + part
                      for part in (codes[at:at + 255] for at in range(0, len(codes), 255)))
    control = b"\x21\xf9\x04\x04" + struct.pack("<H", milliseconds // 10) + b"\0\0"
    frame = b"\x2c" + struct.pack("<HHHHB", 0, 0, WIDTH, HEIGHT, 0)
    return control + frame + b"\x07" + blocks + b"\0"


def main():
    file, milliseconds = sys.argv[1], int(sys.argv[2])
    colours = b"\0\xff\0" + b"\0\0\xff" + bytes(3 * 126)
    for_ever = b"\x21\xff\x0bNETSCAPE2.0\x03\x01\0\0\0"
    with open(file, "wb") as gif:
        gif.write(b"GIF89a" + struct.pack("<HHBBB", WIDTH, HEIGHT, 0xf6, 0, 0) + colours + for_ever)
        gif.write(picture(GREEN, milliseconds) + picture(BLUE, milliseconds) + b"\x3b")


main()
