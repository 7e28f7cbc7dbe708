#!/usr/bin/env python3
"""Writes the seed files of the fuzz target for PNG, JPEG and TIFF beside itself. JPEG files come from ImageMagick."""
import pathlib
import struct
import subprocess
import zlib

FOLDER = pathlib.Path(__file__).parent / "platformcodecs"
FOLDER.mkdir(exist_ok=True)
WIDTH, HEIGHT = 5, 3


def write(name, data):
    (FOLDER / name).write_bytes(data)


def count(n):
    return bytes(i * 37 % 256 for i in range(1, n + 1))


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(bits, color_type, more=b"", interlace=0, width=WIDTH, height=HEIGHT):
    channels = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}[color_type]
    passes = [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2)]
    rows = b""
    for x0, y0, dx, dy in passes if interlace else [(0, 0, 1, 1)]:
        columns = (width - x0 + dx - 1) // dx
        for y in range(y0, height, dy) if columns > 0 else ():
            rows += bytes([y % 5]) + count((columns * channels * bits + 7) // 8)
    if color_type == 3:
        more = chunk(b"PLTE", count(3 << min(bits, 4))) + more
    head = struct.pack(">IIBBBBB", width, height, bits, color_type, 0, 0, interlace)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + more + chunk(b"IDAT", zlib.compress(rows)) +
            chunk(b"IEND", b""))


def tiff(bits, channels, photometric, tags=(), data=None, order="<", tile=None, planar=1):
    """One strip, or one tile of 16 x 16; `tags` are (number, type, values) with types 3 and 4."""
    width, height = tile or (WIDTH, HEIGHT)
    per_plane = channels if planar == 1 else 1
    plane = height * ((width * per_plane * bits + 7) // 8)
    planes = channels // per_plane
    data = count(plane * planes) if data is None else data
    sizes = [plane] * planes if planes > 1 else [len(data)]
    offsets = [8 + i * plane for i in range(planes)]
    entries = [(256, 4, [WIDTH]), (257, 4, [HEIGHT]), (258, 3, [bits] * channels), (259, 3, [1]),
               (262, 3, [photometric]), (277, 3, [channels]), (284, 3, [planar])]
    if tile:
        entries += [(322, 4, [width]), (323, 4, [height]), (324, 4, offsets), (325, 4, sizes)]
    else:
        entries += [(273, 4, offsets), (278, 4, [HEIGHT]), (279, 4, sizes)]
    entries = {e[0]: e for e in [*entries, *tags]}
    directory, extra = b"", b""
    start = 8 + len(data) + len(data) % 2
    after = start + 2 + 12 * len(entries) + 4
    for number, kind, values in sorted(entries.values()):
        packed = b"".join(struct.pack(order + ("H" if kind == 3 else "I"), v) for v in values)
        if len(packed) > 4:
            packed, extra = struct.pack(order + "I", after + len(extra)), extra + packed
        directory += struct.pack(order + "HHI", number, kind, len(values)) + packed.ljust(4, b"\0")
    mark = b"II*\0" if order == "<" else b"MM\0*"
    return (mark + struct.pack(order + "I", start) + data.ljust(len(data) + len(data) % 2, b"\0") +
            struct.pack(order + "H", len(entries)) + directory + bytes(4) + extra)


def png_seeds():
    for bits, color_type in [(1, 0), (2, 0), (4, 0), (8, 0), (16, 0), (8, 2), (16, 2), (1, 3), (4, 3), (8, 3), (8, 4),
                             (16, 4), (8, 6), (16, 6)]:
        write(f"{bits}-{color_type}.png", png(bits, color_type))
    write("palette-transparent.png", png(8, 3, chunk(b"tRNS", count(9))))
    write("grey-transparent.png", png(2, 0, chunk(b"tRNS", b"\0\1")))
    write("colors-transparent.png", png(8, 2, chunk(b"tRNS", count(6))))
    write("interlaced.png", png(8, 6, b"", 1, 9, 9))
    write("interlaced-bits.png", png(1, 3, b"", 1))
    write("texts.png", png(8, 0, chunk(b"zTXt", b"k\0\0" + zlib.compress(b"text")) + chunk(b"gAMA", bytes(4))))


def tiff_seeds():
    colors = (320, 3, [i * 257 for i in range(256)] * 3)
    floats = struct.pack("<60f", *(i / 45 for i in range(60)))
    write("grey.tif", tiff(8, 1, 1))
    write("bilevel.tif", tiff(1, 1, 0))
    write("grey4.tif", tiff(4, 1, 1))
    write("grey12.tif", tiff(12, 1, 1))
    write("grey16-big.tif", tiff(16, 1, 1, order=">"))
    write("palette.tif", tiff(8, 1, 3, [colors]))
    write("palette4.tif", tiff(4, 1, 3, [(320, 3, list(range(0, 48000, 1000)))]))
    write("colors.tif", tiff(8, 3, 2))
    write("colors16-planes.tif", tiff(16, 3, 2, planar=2))
    write("alpha.tif", tiff(8, 4, 2, [(338, 3, [2])]))
    write("multiplied.tif", tiff(8, 4, 2, [(338, 3, [1])]))
    write("inks.tif", tiff(8, 4, 5))
    write("lab.tif", tiff(8, 3, 8))
    write("ycbcr.tif", tiff(8, 3, 6, [(530, 3, [1, 1])]))
    write("float.tif", tiff(32, 3, 2, [(339, 3, [3] * 3)], floats[:180]))
    write("float-alpha.tif", tiff(32, 4, 2, [(338, 3, [2]), (339, 3, [3] * 4)], floats))
    write("float-grey.tif", tiff(32, 1, 1, [(339, 3, [3])], floats[:60]))
    write("half.tif", tiff(16, 3, 2, [(339, 3, [3] * 3)]))
    write("signed.tif", tiff(8, 1, 1, [(339, 3, [2])]))
    write("tile.tif", tiff(8, 3, 2, tile=(16, 16)))
    write("tile-float.tif", tiff(32, 1, 1, [(339, 3, [3])], struct.pack("<256f", *(i / 256 for i in range(256))),
                                 tile=(16, 16)))
    for orientation in range(2, 9):
        write(f"turned{orientation}.tif", tiff(8, 1, 1, [(274, 3, [orientation])]))
    for name, number, data in [("deflate", 8, zlib.compress(count(45))),
                               ("packbits", 32773, b"".join(b"\x0e" + count(15) for _ in range(3)))]:
        write(f"{name}.tif", tiff(8, 3, 2, [(259, 3, [number])], data))
    write("fax4.tif", tiff(1, 1, 0, [(259, 3, [4])], b"\x26\xa1\x00\x10\x01"))


def jpeg_seeds():
    source = f"P6 16 9 255\n".encode() + count(16 * 9 * 3)
    for name, options in [("colors", []), ("grey", ["-colorspace", "Gray"]), ("inks", ["-colorspace", "CMYK"]),
                          ("progressive", ["-interlace", "JPEG"]), ("full", ["-sampling-factor", "1x1"]),
                          ("rgb", ["-define", "jpeg:colorspace=RGB"])]:
        command = ["convert", "ppm:-", "-strip", *options, "-quality", "40", "jpeg:-"]
        write(f"{name}.jpg", subprocess.run(command, input=source, capture_output=True, check=True).stdout)


png_seeds()
tiff_seeds()
jpeg_seeds()
