#!/usr/bin/env python3
"""Writes seed files of OpenFuzzer beside itself: small pictures with much that is no pixel. Starts from other seeds.

Two zero bytes at the end choose the usual options.
"""
import pathlib
import struct
import zlib

SEEDS = pathlib.Path(__file__).parent
TEXT = "text \u20ac".encode()
XMP = b"<x:xmpmeta xmlns:x='adobe:ns:meta/'/>"


def write(name, data):
    (SEEDS / "open").mkdir(exist_ok=True)
    (SEEDS / "open" / name).write_bytes(data + bytes(2))


def profile(space):
    head = struct.pack(">I4sI4s4s4s12s4s", 132, b"none", 0x02400000, b"mntr", space, b"XYZ ", bytes(12), b"acsp")
    return head.ljust(128, b"\0") + bytes(4)


def exif(order="<"):
    """Turned by a quarter, with a text, an exposure time and a number of photographs' sensitivity."""
    def entry(tag, kind, count, value):
        return struct.pack(order + "HHII", tag, kind, count, value)

    short = 6 if order == "<" else 6 << 16
    start = (b"II*\0" if order == "<" else b"MM\0*") + struct.pack(order + "I", 8)
    first = [entry(270, 2, 8, 62), entry(274, 3, 1, short), entry(282, 5, 1, 70), entry(34665, 4, 1, 78)]
    block = start + struct.pack(order + "H", len(first)) + b"".join(first) + bytes(4) + b"a text\0\0"
    block += struct.pack(order + "II", 300, 1)
    second = [entry(33434, 5, 1, 108), entry(34855, 3, 1, 100 if order == "<" else 100 << 16)]
    return block + struct.pack(order + "H", len(second)) + b"".join(second) + bytes(4) + struct.pack(order + "II", 1, 60)


def png_seeds():
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    def png(bits, color_type, channels, more):
        head = struct.pack(">IIBBBBB", 5, 3, bits, color_type, 0, 0, 0)
        rows = b"".join(bytes([0]) + bytes(range(1, 5 * channels * bits // 8 + 1)) for _ in range(3))
        return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + more + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))

    primaries = [31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000]
    texts = (chunk(b"tEXt", b"Title\0caf\xe9") + chunk(b"iTXt", b"Comment\0\0\0\0\0" + TEXT) +
             chunk(b"iTXt", b"XML:com.adobe.xmp\0\0\0\0\0" + XMP) + chunk(b"eXIf", exif(">")))
    for name, space, color_type, channels in (("rgb", b"RGB ", 2, 3), ("grey", b"GRAY", 0, 1), ("rgba", b"RGB ", 6, 4)):
        iccp = chunk(b"iCCP", b"p\0\0" + zlib.compress(profile(space)))
        resolution = chunk(b"pHYs", struct.pack(">IIB", 2835, 2835, 1))
        write(f"{name}.png", png(8, color_type, channels, iccp + resolution + texts))
        write(f"{name}16.png", png(16, color_type, channels, iccp))
    write("primaries.png", png(8, 2, 3, chunk(b"gAMA", struct.pack(">I", 45455)) + chunk(b"cHRM", struct.pack(">8I", *primaries))))
    primaries[7] += 1
    write("other-primaries.png", png(8, 2, 3, chunk(b"cHRM", struct.pack(">8I", *primaries)) + chunk(b"acTL", bytes(8)) +
                                     chunk(b"abCD", b"1") + chunk(b"tIME", bytes(7))))
    write("short-primaries.png", png(8, 2, 3, chunk(b"gAMA", bytes(4)) + chunk(b"sRGB", b"\0") + chunk(b"abCD", b"1")))
    write("palette.png", png(8, 3, 1, chunk(b"PLTE", bytes(range(48))) + chunk(b"tRNS", b"\1\2") + texts))


def jpeg_seeds():
    def segment(number, data):
        return struct.pack(">BBH", 0xFF, number, len(data) + 2) + data

    extras = (segment(0xE1, b"Exif\0\0" + exif()) + segment(0xE1, b"http://ns.adobe.com/xap/1.0/\0" + XMP) +
              segment(0xE2, b"ICC_PROFILE\0\1\1" + profile(b"RGB ")) + segment(0xED, b"Other 1.0\0") + segment(0xFE, TEXT))
    for name in ("colors", "grey", "inks", "progressive"):
        file = (SEEDS / "platformcodecs" / f"{name}.jpg").read_bytes()
        write(f"{name}.jpg", file[:2] + extras + file[2:])
        write(f"{name}-cut.jpg", file[:-40])


def tiff(order, bits, channels, predictor=1, compression=8, extra=(), floats=False):
    """Three rows of five pixels in a strip."""
    def packed(kind, values):
        return struct.pack(order + {1: "B", 2: "B", 3: "H", 4: "I", 5: "I", 7: "B"}[kind] * len(values), *values)

    data = bytes(i * 37 % 256 for i in range(3 * 5 * channels * bits // 8))
    data = zlib.compress(data) if compression == 8 else data
    tags = {256: (4, [5]), 257: (4, [3]), 258: (3, [bits] * channels), 259: (3, [compression]),
            262: (3, [2 if channels > 2 else 1]), 273: (4, [8]), 277: (3, [channels]), 278: (4, [3]), 279: (4, [len(data)]),
            317: (3, [predictor]), **dict(extra)}
    if channels in (2, 4):
        tags[338] = (3, [2])
    if floats:
        tags[339] = (3, [3] * channels)
    start = 8 + len(data) + len(data) % 2
    after = start + 2 + 12 * len(tags) + 4
    directory, behind = b"", b""
    for tag, (kind, values) in sorted(tags.items()):
        value = packed(kind, values)
        count = len(values) // 2 if kind == 5 else len(values)
        if len(value) > 4:
            value, behind = struct.pack(order + "I", after + len(behind)), behind + value + bytes(len(value) % 2)
        directory += struct.pack(order + "HHI", tag, kind, count) + value.ljust(4, b"\0")
    return ((b"II*\0" if order == "<" else b"MM\0*") + struct.pack(order + "I", start) + data + bytes(len(data) % 2) +
            struct.pack(order + "H", len(tags)) + directory + bytes(4) + behind)


def tiff_seeds():
    for order, end in (("<", "little"), (">", "big")):
        for bits in (8, 16, 32):
            for channels in (1, 2, 3, 4):
                write(f"{end}-{bits}-{channels}.tif", tiff(order, bits, channels, 2))
        write(f"{end}-float.tif", tiff(order, 32, 3, 3, floats=True))
        write(f"{end}-half.tif", tiff(order, 16, 4, floats=True))
        extra = {270: (2, list(b"a text\0")), 282: (5, [300, 1]), 283: (5, [300, 1]), 296: (3, [2]), 305: (2, list(b"one\0")),
                 315: (2, list(b"somebody\0")), 700: (1, list(XMP)), 34675: (7, list(profile(b"RGB "))), 33432: (2, list(b"c\0"))}
        write(f"{end}-tags.tif", tiff(order, 8, 3, 1, 1, extra))
        write(f"{end}-tags-metric.tif", tiff(order, 8, 1, 1, 1, {282: (5, [30, 1]), 296: (3, [3]), 274: (3, [6]),
                                                                285: (2, list(b"page\0"))}))


def webp_seeds():
    def chunk(kind, data):
        return kind + struct.pack("<I", len(data)) + data + bytes(len(data) % 2)

    for name in ("lossy", "lossless", "opaque"):
        file = (SEEDS / "webp" / f"{name}.webp").read_bytes()
        body = file[12:]
        if body[:4] == b"VP8X":
            head, rest = body[:18], body[18:]
        elif body[:4] == b"VP8 ":
            width, height = struct.unpack_from("<HH", body, 14)
            head, rest = chunk(b"VP8X", bytes(4) + struct.pack("<I", width - 1)[:3] + struct.pack("<I", height - 1)[:3]), body
        else:
            sides, = struct.unpack_from("<I", body, 9)
            head = chunk(b"VP8X", bytes(4) + struct.pack("<I", sides & 0x3FFF)[:3] + struct.pack("<I", sides >> 14 & 0x3FFF)[:3])
            rest = body
        head = head[:8] + bytes([head[8] | 0x2C]) + head[9:]
        whole = b"WEBP" + head + chunk(b"ICCP", profile(b"RGB ")) + rest + chunk(b"EXIF", exif()) + chunk(b"XMP ", XMP)
        write(f"{name}.webp", b"RIFF" + struct.pack("<I", len(whole)) + whole)


png_seeds()
jpeg_seeds()
tiff_seeds()
webp_seeds()
