#!/usr/bin/env python3
"""Writes seed files of OpenFuzzer beside itself: rare variants of BMP, TGA and PAM files.

The last two bytes choose options: how damage and alpha are read, and which name the file has.
"""
import pathlib
import struct

FOLDER = pathlib.Path(__file__).parent / "open"
USUAL = b"\0\0"
KEEP_DAMAGE, STORED_ALPHA, NAMED_TGA, NAMED_BMP = b"\0\1", b"\0\2", b"\0\4", b"\0\x0c"


def write(name, data, options=USUAL):
    FOLDER.mkdir(exist_ok=True)
    (FOLDER / name).write_bytes(data + options)


def count(n):
    return bytes(i * 37 % 256 for i in range(1, n + 1))


def bmp(bits, pixels, compression=0, colors=b"", more=b"", length=40, width=5, height=3, used=0):
    info = struct.pack("<IiiHHIIiiII", length, width, height, 1, bits, compression, len(pixels), 2835, 2835, used, 0) + more
    start = 14 + len(info) + len(colors)
    return b"BM" + struct.pack("<IHHI", start + len(pixels), 0, 0, start) + info + colors + pixels


def bmp_seeds():
    core = struct.pack("<IHHHH", 12, 5, 3, 1, 8) + bytes(range(256)) * 3 + count(24)
    write("core.bmp", b"BM" + struct.pack("<IHHI", 14 + len(core), 0, 0, 14 + 12 + 768) + core)
    write("pairs.bmp", bmp(2, count(12), colors=count(16), used=4))
    runs4 = bytes([5, 0x12, 0, 0, 0, 5, 0x12, 0x34, 0x50, 0, 0, 0, 0, 2, 1, 0, 3, 0x56, 0, 1])
    write("runs4.bmp", bmp(4, runs4, 2, count(64)))
    write("runs4-cut.bmp", bmp(4, runs4[:5], 2, count(64)), KEEP_DAMAGE)
    write("runs8-steps.bmp", bmp(8, bytes([2, 9, 0, 2, 1, 1, 0, 3, 1, 2, 3, 0, 0, 1]), 1, count(1024)))
    deep = struct.pack("<IIII", 0x3FF00000, 0xFFC00, 0x3FF, 0xC0000000)
    write("deep-masks.bmp", bmp(32, count(60), 3, more=deep[:12]))
    write("odd-masks.bmp", bmp(16, count(36), 3, more=struct.pack("<III", 0xF00, 0xF0, 0xF)))
    write("alpha-masks.bmp", bmp(32, count(60), 6, more=struct.pack("<IIII", 0xFF, 0xFF00, 0xFF0000, 0xFF000000)), STORED_ALPHA)
    write("no-masks.bmp", bmp(32, struct.pack("<15I", *[1] * 15), 3))
    write("shared-masks.bmp", bmp(16, bytes(36), 3, more=struct.pack("<III", 7, 7, 7)))
    for length in (52, 56, 64, 108):
        masks = struct.pack("<IIII", 0xFF0000, 0xFF00, 0xFF, 0) + bytes(length - 56) if length > 52 else bytes(12)
        write(f"header{length}.bmp", bmp(24 if length == 64 else 32, count(60), 0, more=masks[:length - 40], length=length))
    profile = count(40)
    version5 = struct.pack("<IIIII", 0xFF0000, 0xFF00, 0xFF, 0, 0x4D424544) + bytes(48) + struct.pack("<IIII", 4, 124 + 60, 40, 0)
    write("version5.bmp", bmp(32, count(60) + profile, 3, more=version5, length=124))
    # Without a file header, under a name.
    write("headless.bmp", bmp(24, count(48))[14:])
    write("headless-named.bmp", bmp(8, count(24), colors=count(1024))[14:], NAMED_BMP)
    write("array.bmp", b"BA" + struct.pack("<IIHH", 40, 0, 0, 0) + bmp(24, count(48)))
    for name in ("grey.jpg", "8-2.png"):
        file = (FOLDER.parent / "platformcodecs" / name).read_bytes()
        sides = (16, 9) if name == "grey.jpg" else (5, 3)
        write(f"inside-{name[-3:]}.bmp", bmp(0, file, 4 if name == "grey.jpg" else 5, width=sides[0], height=sides[1]))
    for number, bits in ((1, 4), (2, 8), (3, 1), (4, 8), (9, 24)):
        write(f"refused{number}.bmp", bmp(bits, count(60), number, colors=count(64)))


def tga(kind, bits, pixels, descriptor=0, colors=b"", entry_bits=0, first=0):
    entries = len(colors) * 8 // ((entry_bits + 7) // 8 * 8) if entry_bits else 0
    head = struct.pack("<BBBHHBHHHHBB", 0, 1 if entries else 0, kind, first, entries, entry_bits, 0, 0, 3, 2, bits, descriptor)
    return head + colors + pixels


def with_footer(file, alpha, thumbnail=b"", texts=b""):
    area = struct.pack("<H", 495) + texts.ljust(480, b"\0") + bytes(4)
    place = len(file)
    file += thumbnail
    start = len(file)
    area += struct.pack("<I", place if thumbnail else 0) + bytes(4) + bytes([alpha])
    return file + area + struct.pack("<II", start, 0) + b"TRUEVISION-XFILE.\0"


def tga_seeds():
    # No byte may follow a footer, so its last two, "." and 0, choose the options.
    for kind in (0, 1, 2, 3, 4):
        write(f"alpha{kind}.tga", with_footer(tga(2, 32, count(24), 8), kind), b"")
    write("thumbnail.tga", with_footer(tga(2, 24, count(18)), 0, bytes([2, 1]) + count(6), b"somebody"), b"")
    write("opaque.tga", tga(2, 32, count(24), 0), NAMED_TGA)
    write("clear.tga", tga(2, 32, bytes(24), 0), NAMED_TGA)
    write("word-alpha.tga", tga(2, 16, count(12), 1))
    write("grey-alpha.tga", tga(3, 16, count(12), 8))
    write("grey-words.tga", tga(3, 16, count(12), 0))
    write("bits.tga", tga(3, 1, count(2), 0x20))
    write("mirrored.tga", tga(2, 24, count(18), 0x10))
    write("mirrored16.tga", tga(2, 16, count(12), 0x30))
    write("packed-grey.tga", tga(11, 8, bytes([0x83, 7, 1, 8, 9]), 0x20))
    write("map15.tga", tga(1, 8, bytes([0, 1, 1, 0, 1, 0]), 0, count(4), 15))
    write("map16-words.tga", tga(1, 16, bytes([0, 0, 1, 0] * 3), 0, count(4), 16))
    write("map24-words.tga", tga(1, 16, bytes([0, 0, 1, 0] * 3), 0, count(6), 24))
    write("map32-words.tga", tga(9, 16, bytes([0x82, 1, 0, 2, 0, 0, 1, 0, 0, 0]), 8, count(8), 32))
    write("map32-first.tga", tga(1, 8, bytes([4, 5, 5, 4, 4, 5]), 8, count(8), 32, 4))
    write("outside.tga", tga(1, 8, bytes([200] * 6), 0, count(6), 24), NAMED_TGA)
    write("rows-cut.tga", tga(2, 24, count(14), 0), b"\0\5")
    write("packets-cut.tga", tga(10, 24, bytes([0x82, 1, 2, 3, 0x80, 9]), 0), b"\0\5")


def pam_seeds():
    for name, depth, most in (("BLACKANDWHITE", 1, 1), ("BLACKANDWHITE_ALPHA", 2, 1), ("GRAYSCALE", 1, 255), ("GRAYSCALE_ALPHA", 2, 255),
                              ("RGB", 3, 255), ("RGB_ALPHA", 4, 255), ("CMYK", 4, 255), ("CMYK_ALPHA", 5, 255), ("RGB", 3, 1023),
                              ("RGB_ALPHA", 4, 65535), ("GRAYSCALE", 1, 15), ("OTHER", 3, 255), ("CMYK", 4, 65535)):
        head = f"P7\n# a remark\nWIDTH 3\nHEIGHT 2\nDEPTH {depth}\nMAXVAL {most}\nTUPLTYPE {name}\nENDHDR\n".encode()
        pixels = bytes(i % (most + 1) % 256 for i in range(6 * depth * (1 if most < 256 else 2)))
        write(f"{name.lower()}-{most}.pam", head + pixels)
    write("narrow.pfm", b"Pf\n3 2\n-1.0\n" + struct.pack("<6f", 0, 0.25, 0.5, 1, 2, 4))
    write("wide.pfm", b"PF\n1 2\n1.0\n" + struct.pack(">6f", 0, 0.25, 0.5, 1, 2, 4))
    write("plain.pbm", b"P1\n# rows\n9 2\n101010101\n0 1 0 1 0 1 0 1 0\n")
    write("packed.pbm", b"P4\n9 2\n" + count(4))
    write("words.ppm", b"P6\n2 2\n65535\n" + count(24))
    write("plain-cut.ppm", b"P3\n3 2\n255\n1 2 3 4 5 6 7 8 9 10", KEEP_DAMAGE)


def ilbm_seeds():
    def chunk(name, data):
        return name + struct.pack(">I", len(data)) + data + bytes(len(data) % 2)

    def form(planes, colors, view=0, mask=0, clear=0, kind=b"ILBM", width=9):
        head = struct.pack(">HHHHBBBBHBBHH", width, 2, 0, 0, planes, mask, 0, 0, clear, 10, 11, width, 2)
        row = (width + 15) // 16 * 2
        body = count(2 * row * (planes + (mask == 1))) if kind == b"ILBM" else count(2 * (width + width % 2))
        return chunk(b"FORM", kind + chunk(b"BMHD", head) + chunk(b"CMAP", count(3 * colors)) +
                     chunk(b"CAMG", struct.pack(">I", view)) + chunk(b"ANNO", b"text") + chunk(b"BODY", body))

    write("held6.iff", form(6, 16, 0x800))
    write("held8.iff", form(8, 64, 0x800))
    write("half-bright.iff", form(6, 32, 0x80))
    write("mask.iff", form(4, 16, 0, 1))
    write("clear-index.iff", form(4, 16, 0, 2, 3))
    write("clear-index8.iff", form(8, 256, 0, 2, 3), STORED_ALPHA)
    write("bytes.iff", form(8, 256, kind=b"PBM "))
    write("alpha.iff", form(32, 0))
    write("no-colors.iff", form(5, 0))


def exr_seeds():
    """Luminance and chroma in scan lines, uncompressed: at half the resolution, as OpenEXR writes it, or at the whole."""
    def attribute(name, kind, data):
        return name + b"\0" + kind + b"\0" + struct.pack("<I", len(data)) + data

    def exr(kind, sampling, alpha, tiles):
        width, height = 4, 4
        names = ([b"A"] if alpha else []) + [b"BY", b"RY", b"Y"]
        step = {name: sampling if name in (b"BY", b"RY") else 1 for name in names}
        channels = b"".join(name + b"\0" + struct.pack("<IIII", kind, 0, step[name], step[name]) for name in names) + b"\0"
        box = struct.pack("<iiii", 0, 0, width - 1, height - 1)
        head = (b"v/1\x01" + struct.pack("<I", 0x202 if tiles else 2) + attribute(b"channels", b"chlist", channels) +
                attribute(b"compression", b"compression", b"\0") + attribute(b"dataWindow", b"box2i", box) +
                attribute(b"displayWindow", b"box2i", box) + attribute(b"lineOrder", b"lineOrder", b"\0") +
                attribute(b"pixelAspectRatio", b"float", struct.pack("<f", 1)) +
                attribute(b"screenWindowCenter", b"v2f", bytes(8)) + attribute(b"screenWindowWidth", b"float", struct.pack("<f", 1)))
        if tiles:
            head += attribute(b"tiles", b"tiledesc", struct.pack("<IIB", width, height, 0))
        head += b"\0"
        sample = struct.pack("<e", 0.5) if kind == 1 else struct.pack("<f", 0.5)
        lines = [b"".join(sample * (width // step[name]) for name in names if y % step[name] == 0) for y in range(height)]
        if tiles:
            blocks = [struct.pack("<IIIII", 0, 0, 0, 0, sum(map(len, lines))) + b"".join(lines)]
        else:
            blocks = [struct.pack("<II", y, len(line)) + line for y, line in enumerate(lines)]
        at, table = len(head) + 8 * len(blocks), b""
        for block in blocks:
            table += struct.pack("<Q", at)
            at += len(block)
        return head + table + b"".join(blocks)

    folder = FOLDER.parent / "exr"
    for kind, bits in ((1, "half"), (2, "float")):
        for sampling in (1, 2):
            for alpha in (False, True):
                name = f"chroma-{bits}-{sampling}{'-alpha' if alpha else ''}.exr"
                (folder / name).write_bytes(exr(kind, sampling, alpha, False) + USUAL)
        (folder / f"chroma-{bits}-tiles.exr").write_bytes(exr(kind, 1, False, True) + USUAL)


def dds_seeds():
    """Indices with a palette, whose entries have alpha or none."""
    folder = FOLDER.parent / "dds"
    for alpha in (0, 255):
        head = b"DDS " + struct.pack("<7I", 124, 0x1007, 2, 5, 5, 0, 0) + bytes(44)
        head += struct.pack("<8I", 32, 0x20, 0, 8, 0, 0, 0, 0) + struct.pack("<5I", 0x1000, 0, 0, 0, 0)
        (folder / f"indices{alpha}.dds").write_bytes(head + bytes(255 if i % 4 < 3 else alpha for i in range(1024)) + count(10) + USUAL)


bmp_seeds()
dds_seeds()
ilbm_seeds()
exr_seeds()
tga_seeds()
pam_seeds()
