#!/usr/bin/env python3
"""Writes the small seed files of the codecs' fuzz targets beside itself: one per variant that a reader knows."""
import pathlib
import struct

SEEDS = pathlib.Path(__file__).parent


def write(feature, name, data):
    (SEEDS / feature).mkdir(exist_ok=True)
    (SEEDS / feature / name).write_bytes(data)


def tga(kind, bits, pixels, descriptor=0, colors=b"", entry_bits=0):
    entries = len(colors) * 8 // entry_bits if entry_bits else 0
    head = struct.pack("<BBBHHBHHHHBB", 2, 1 if entries else 0, kind, 0, entries, entry_bits, 0, 0, 3, 2, bits,
                       descriptor)
    return head + b"id" + colors + pixels


def count(n):
    return bytes(i % 256 for i in range(1, n + 1))


def tga_seeds():
    write("tga", "mapped24.tga", tga(1, 8, bytes([0, 1, 2, 2, 1, 0]), 0, count(9), 24))
    write("tga", "mapped32.tga", tga(1, 8, bytes([0, 1, 5, 2, 1, 0]), 0x20, count(8), 32))
    for bits in (16, 24, 32):
        write("tga", f"raw{bits}.tga", tga(2, bits, count(6 * bits // 8), 0x20))
        pixel = bits // 8
        packets = bytes([0x83]) + count(pixel) + bytes([0x01]) + count(2 * pixel)
        write("tga", f"packets{bits}.tga", tga(10, bits, packets))
    write("tga", "grey.tga", tga(3, 8, count(6)))
    write("tga", "packets-mapped.tga", tga(9, 8, bytes([0x83, 1, 0x01, 0, 1]), 0x20, count(6), 24))
    write("tga", "raw24-with-map.tga", tga(2, 24, count(18), 0, count(6), 24))


def ppm_seeds():
    write("ppm", "p6.ppm", b"P6\n# c\n3 2\n255\n" + count(18))
    write("ppm", "p5.pgm", b"P5\n3 2\n255\n" + count(6))
    write("ppm", "p3.ppm", b"P3\n1 2\n255\n1 2 3\n4 5 -6\n")
    write("ppm", "p2.pgm", b"P2\n3 1\n65535\n65535 256 # 7\n")


def palette_seeds():
    write("palette", "named.gpl", b"GIMP Palette\nName: two\nColumns: 2\n#\n  1   2   3\tone\n255 254 253\ttwo\n")
    write("palette", "two.pal", b"JASC-PAL\r\n0100\r\n2\r\n1 2 3\r\n255 254 253\r\n")
    write("palette", "whole.act", bytes(3 * i % 256 for i in range(768)))
    write("palette", "two.act", count(6) + bytes(762) + bytes([0, 2, 0xFF, 0xFF]))


def tim_seeds():
    def block(width, height, words):
        return struct.pack("<IHHHH", 12 + 2 * len(words), 0, 0, width, height) + struct.pack(f"<{len(words)}H", *words)

    start = lambda flags: struct.pack("<II", 0x10, flags)
    write("tim", "words.tim", start(2) + block(3, 2, [1, 2, 0x8003, 31, 0x7C00, 0xFFFF]))
    write("tim", "bytes.tim", start(9) + block(4, 1, [0, 31, 0x3E0, 0x7FFF]) + block(2, 2, [1, 2, 3, 4]))
    write("tim", "nibbles.tim", start(8) + block(16, 1, list(range(16))) + block(1, 2, [0x3210, 0x7654]))
    write("tim", "no-lookup.tim", start(0) + block(1, 1, [0x3210]))


def ilbm_seeds():
    def chunk(name, data):
        return name + struct.pack(">I", len(data)) + data

    def form(width, planes, body, packed=0, mask=0, colors=b""):
        head = struct.pack(">HHHHBBBBHBBHH", width, 2, 0, 0, planes, mask, packed, 0, 0, 1, 1, width, 2)
        chunks = chunk(b"BMHD", head) + (chunk(b"CMAP", colors) if colors else b"") + chunk(b"BODY", body)
        return chunk(b"FORM", b"ILBM" + chunks)

    write("ilbm", "bits.iff", form(9, 1, count(4), colors=count(6)))
    write("ilbm", "nibbles.iff", form(5, 3, count(12), colors=count(24)))
    write("ilbm", "bytes.iff", form(3, 8, count(32), colors=count(48)))
    write("ilbm", "bytes-packets-mask.iff", form(3, 8, bytes([0x03, 1, 2, 3, 4, 0x80, 0xE1, 7]), 1, 1))
    write("ilbm", "colors.iff", form(2, 24, count(96)))
    write("ilbm", "colors-packets.iff", form(2, 24, bytes([0x81, 0xAA]), 1))


def hdr_seeds():
    head = b"#?RADIANCE\nGAMMA=2.2\nFORMAT=32-bit_rle_rgbe\n\n"
    run_row = bytes([2, 2, 0, 9]) + b"".join(bytes([128 + 9, value]) for value in (10, 20, 30, 130))
    literal_row = bytes([2, 2, 0, 9]) + b"".join(bytes([5]) + count(5) + bytes([4]) + count(4) for _ in range(4))
    write("hdr", "packets.hdr", head + b"-Y 2 +X 9\n" + run_row + literal_row)
    write("hdr", "flat.hdr", head + b"-Y 2 +X 3\n" + count(24))
    write("hdr", "flat-wide.hdr", head + b"-Y 1 +X 9\n" + count(36))


def round_trip_seeds():
    """Depth, width, height and row order as numbers of four bytes each, then pixels."""
    for feature in ("tgaroundtrip", "ppmroundtrip", "timroundtrip", "ilbmroundtrip"):
        for depth in range(6):
            write(feature, f"depth{depth}", struct.pack(">IIII", depth, 6, 4, depth % 2) + count(40))
    write("hdrroundtrip", "packets", struct.pack(">II", 9, 1) + struct.pack(">12f", *range(12)) + count(60))
    write("hdrroundtrip", "flat", struct.pack(">II", 3, 1) + struct.pack(">6f", 1, -1, 1e38, 1e-38, 0.5, 3))


if __name__ == "__main__":
    tga_seeds()
    ppm_seeds()
    tim_seeds()
    ilbm_seeds()
    hdr_seeds()
    palette_seeds()
    round_trip_seeds()
