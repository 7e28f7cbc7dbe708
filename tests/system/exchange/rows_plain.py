"""What programs write of the formats that store plain pixels, and of those with layers."""
from pictures import as_light, oriented, upside_down
from table import ALL, COLORS, FFMPEG, FIVE_BITS, FOUR_BITS, IM_TYPES, library, magick_type_fits, row

# BMP.
row("bmp", COLORS, "ppmtobmp {system} -bpp=24 {in} >{out}", system=["-windows", "-os2"])
row("bmp", ["few", "sixteen", "grey", "two"], "ppmtobmp {system} -bpp=8 {in} >{out}", system=["-windows", "-os2"])
row("bmp", ["sixteen", "two"], "ppmtobmp {system} -bpp=4 {in} >{out}", system=["-windows", "-os2"])
row("bmp", ["two"], "ppmtobmp {system} -bpp=1 {in} >{out}", system=["-windows", "-os2"])
row("bmp", COLORS, "convert {in} +dither -type {type} -compress {compress} {version}:{out}", type=IM_TYPES,
    compress=["none", "RLE"], version=["bmp", "bmp2", "bmp3"], unless=lambda case: not magick_type_fits(case))
row("bmp", ["alpha"], "convert {in} {version}:{out}", version=["bmp"])
row("bmp", ["grey", "colors"], "convert {in} -define bmp:subtype={kind} bmp:{out}", FIVE_BITS,
    kind=["RGB555", "RGB565"])
row("bmp", COLORS, "gm convert {in} {type} -compress {compress} {version}:{out}", type=["", "+dither -type palette"],
    compress=["none", "RLE"], version=["bmp", "bmp2",
    "bmp3"], unless=lambda case: case["type"] and case["source"] == "colors")
row("bmp", ["alpha"], "gm convert {in} bmp:{out}")
row("bmp", ["colors", "few", "grey"], FFMPEG + "-c:v bmp -pix_fmt {format} {out}", format=["bgr24", "bgra"])
row("bmp", ["alpha"], FFMPEG + "-c:v bmp -pix_fmt bgra {out}")
row("bmp", ["grey"], FFMPEG + "-c:v bmp -pix_fmt {format} {out}", FIVE_BITS, format=["rgb565le", "rgb555le", "gray"])
row("bmp", ["grey"], FFMPEG + "-c:v bmp -pix_fmt rgb444le {out}", FOUR_BITS)
row("bmp", ["two"], FFMPEG + "-c:v bmp -pix_fmt {format} {out}", 3,
    format=["rgb8", "bgr8", "rgb4_byte", "bgr4_byte", "gray", "pal8", "monob"])
library("Pillow", "bmp", COLORS, mode=["RGB"])
library("Pillow", "bmp", ["grey", "two"], mode=["L", "P"])
library("Pillow", "bmp", ["few", "sixteen"], mode=["P"], tolerance=0)
library("Pillow", "bmp", ["two"], mode=["1"])
library("Pillow", "bmp", ["alpha"], mode=["RGBA"])
library("OpenCV", "bmp", [*COLORS, "alpha"])
library("OpenImageIO", "bmp", COLORS)
library("OpenImageIO", "bmp", ["alpha"])
library("Pillow", "dib", COLORS, mode=["RGB"])
row("bmp", ["clear"], "convert {in} -define bmp:subtype={kind} bmp:{out}", FOUR_BITS, kind=["ARGB1555", "ARGB4444"])
row("bmp", ["grey", "two"], "convert {in} -define bmp:subtype=RGB555 bmp3:{out}", FIVE_BITS)  # without masks

# TGA.
row("tga", COLORS, "ppmtotga -rgb {packing} {in} >{out}", packing=["-norle", ""])
row("tga", ["few", "sixteen"], "ppmtotga -cmap {packing} {in} >{out}", packing=["-norle", ""])
row("tga", ["grey", "two"], "ppmtotga -mono {packing} {in} >{out}", packing=["-norle", ""])
row("tga", COLORS, "pamtotga {packing} {in} >{out}", packing=["-norle", ""])
ORIENTATIONS = {"top-left": 1, "top-right": 2, "bottom-right": 3, "bottom-left": 4}
for orientation, number in ORIENTATIONS.items():
    row("tga", ALL, "convert {in} -orient " + orientation + " +dither -type {type} -compress {compress} tga:{out}",
        shown=lambda picture, _, number=number: oriented(picture, {"orientation": number}), compress=["none", "RLE"],
        type=["TrueColor", "Palette",
    "Grayscale"], unless=lambda case: not magick_type_fits(case) or (case["source"] == "alpha"))
    row("tga", ["alpha"], "convert {in} -orient " + orientation + " -compress {compress} tga:{out}",
        shown=lambda picture, _, number=number: oriented(picture, {"orientation": number}), compress=["none", "RLE"])
row("tga", ALL, "gm convert {in} -compress {compress} {version}:{out}", compress=["none", "RLE"],
    version=["tga", "icb", "vda", "vst"])
row("tga", ["few", "sixteen"], "gm convert {in} +dither -type palette -compress {compress} tga:{out}",
    compress=["none", "RLE"])
row("tga", ["colors", "few", "grey"], FFMPEG + "-c:v targa -pix_fmt {format} -rle {packing} {out}",
    format=["bgr24", "bgra"], packing=[0, 1])
row("tga", ["alpha"], FFMPEG + "-c:v targa -pix_fmt bgra -rle {packing} {out}", packing=[0, 1])
row("tga", ["grey"], FFMPEG + "-c:v targa -pix_fmt {format} -rle {packing} {out}", FIVE_BITS,
    format=["rgb555le", "gray"], packing=[0, 1])
row("tga", ["two"], FFMPEG + "-c:v targa -pix_fmt pal8 -rle {packing} {out}", 3, packing=[0, 1])
library("Pillow", "tga", ALL, mode=["RGB", "RGBA"], compression=[None, "tga_rle"], orientation=[1, -1],
    unless=lambda case: case["source"] == "alpha" and case["mode"] == "RGB")
library("Pillow", "tga", ["grey", "two", "greyalpha"], mode=["L", "LA"], compression=[None, "tga_rle"],
    orientation=[1, -1], unless=lambda case: case["source"] == "greyalpha" and case["mode"] == "L")
library("Pillow", "tga", ["few", "sixteen", "grey"], mode=["P"], compression=[None, "tga_rle"], orientation=[1, -1])
library("OpenImageIO", "tga", [*ALL, "greyalpha"], compression=["none", "rle"])

# PNM.
PNM = ["colors", "few", "grey", "two"]
row("ppm", PNM, "pamdepth {depth} {in} {plain} >{out}", depth=[255, 510, 65535], plain=["", "| pnmtoplainpnm"])
row("ppm", ["two"], "pamthreshold -simple {in} {plain} >{out}", plain=["", "| pamtopnm", "| pamtopnm | pnmtoplainpnm"])
row("pam", [*PNM, "alpha", "greyalpha"], "pamdepth {depth} {in} | pamtopam >{out}", depth=[255, 510, 65535])
row("pfm", PNM, "pamtopfm -endian={endian} {in} >{out}", endian=["little", "big"])
row("ppm", PNM, "convert {in} -depth {depth} {compress} ppm:{out}", depth=[8, 16], compress=["", "-compress none"])
row("pgm", ["grey", "two"], "convert {in} -depth {depth} {compress} pgm:{out}", depth=[8, 16],
    compress=["", "-compress none"])
row("pbm", ["two"], "convert {in} {compress} pbm:{out}", compress=["", "-compress none"])
row("pam", [*PNM, "alpha", "greyalpha"], "convert {in} -depth {depth} pam:{out}", depth=[8, 16])
row("pfm", PNM, "convert {in} -endian {endian} pfm:{out}", endian=["LSB", "MSB"])
row("ppm", PNM, "gm convert {in} -depth {depth} {compress} ppm:{out}", depth=[8, 16], compress=["", "+compress"])
row("pgm", ["grey", "two"], "gm convert {in} -depth {depth} {compress} pgm:{out}", depth=[8, 16],
    compress=["", "+compress"])
row("pam", [*PNM, "alpha", "greyalpha"], "gm convert {in} -depth {depth} pam:{out}", depth=[8, 16])
row("ppm", PNM, FFMPEG + "-c:v ppm -pix_fmt {format} {out}", 1, format=["rgb24", "rgb48be"])
row("pgm", ["grey", "two"], FFMPEG + "-c:v pgm -pix_fmt {format} {out}", 1, format=["gray", "gray16be"])
row("pbm", ["two"], FFMPEG + "-c:v pbm -pix_fmt {format} {out}", format=["monow"])
row("pam", ["colors", "few"], FFMPEG + "-f image2 -c:v pam -pix_fmt {format} {out}", 1,
    format=["rgb24", "rgba", "rgb48be", "rgba64be"])
row("pam", ["alpha"], FFMPEG + "-f image2 -c:v pam -pix_fmt {format} {out}", 1, format=["rgba", "rgba64be"])
row("pam", ["grey", "two"], FFMPEG + "-f image2 -c:v pam -pix_fmt {format} {out}", 1,
    format=["gray", "ya8", "gray16be", "ya16be"])
row("pam", ["two"], FFMPEG + "-f image2 -c:v pam -pix_fmt monob {out}")
library("Pillow", "ppm", PNM, mode=["RGB"])
library("Pillow", "pgm", ["grey", "two"], mode=["L", "I"])
library("Pillow", "pbm", ["two"], mode=["1"])
library("OpenCV", "ppm", ["colors", "few"], depth=["uint8", "uint16"],
    parameters=[("IMWRITE_PXM_BINARY", 0), ("IMWRITE_PXM_BINARY", 1)])
library("OpenCV", "pgm", ["grey", "two"], depth=["uint8", "uint16"],
    parameters=[("IMWRITE_PXM_BINARY", 0), ("IMWRITE_PXM_BINARY", 1)])
library("OpenCV", "pam", ["grey"])
library("OpenCV", "pfm", ["colors", "grey"], depth=["float32"])
library("OpenImageIO", "ppm", ["colors", "few"], pnm_binary=[0, 1])
library("OpenImageIO", "pgm", ["grey", "two"], pnm_binary=[0, 1])
row("pam", ["two"], "pamdepth {depth} {in} | pamtopam >{out}", depth=[1, 3, 7, 15, 100, 1000, 65534])
row("ppm", ["two"], "pamdepth {depth} {in} {plain} >{out}", depth=[1, 3, 7, 15, 100, 1000, 65534],
    plain=["", "| pnmtoplainpnm"])
row("pfm", ["colors"], FFMPEG + "-c:v pfm -pix_fmt {format} {out}", 1, shown=upside_down,
    format=["gbrpf32le"])
row("pfm", ["grey"], FFMPEG + "-c:v pfm -pix_fmt {format} {out}", 1, shown=upside_down,
    format=["grayf32le"])
row("pbm", ["two"], "gm convert {in} -monochrome {compress} pbm:{out}", compress=["", "+compress"])

# HDR.
row("hdr", ["grey", "ramp"], "convert {in} -set colorspace RGB hdr:{out}", 2, shown=as_light)
library("OpenCV", "hdr", ["grey", "ramp"], depth=["float32"], shown=as_light, tolerance=2,
    unless=lambda case: case["source"] == "grey")
library("OpenImageIO", "hdr", ["ramp"], depth=["float"], shown=as_light, tolerance=2)

# ILBM.
row("iff", COLORS, "ppmtoilbm -24force {packing} {in} >{out}", packing=["", "-nocompress"])
row("iff", ["few"], "ppmtoilbm -fixplanes 8 {packing} {mask} {in} >{out}", packing=["", "-nocompress"],
    mask=["", "-mmethod none"])
row("iff", ["sixteen"], "ppmtoilbm -fixplanes {planes} {packing} {in} >{out}", planes=[4, 5, 6, 7, 8],
    packing=["", "-nocompress"])
row("iff", ["two"], "ppmtoilbm -fixplanes {planes} {packing} {in} >{out}", planes=[1, 2, 3, 4, 5, 6, 7, 8],
    packing=["", "-nocompress"])
# Held colours keep greys; a pixel changes one colour alone.
row("iff", ["two"], "ppmtoilbm {held} {packing} {in} >{out}", held=["-ham6 -hamforce", "-ham8 -hamforce"],
    packing=["", "-nocompress"])
row("iff", ["grey"], "ppmtoilbm {held} {packing} {in} >{out}", 9, held=["-ham6 -hamforce", "-ham8 -hamforce"],
    packing=["", "-nocompress"])
row("iff", ["two"], "ppmtoilbm {mode} {in} >{out}", mode=["-hires", "-lace", "-hires -lace", "-aga", "-ecs"])

# PSD.
row("psd", COLORS, "convert {in} -depth {depth} -compress {compress} {version}:{out}", depth=[8, 16],
    compress=["None", "RLE", "Zip"], version=["psd", "psb"])
row("psd", ["two"], "convert {in} -type {type} -compress {compress} {version}:{out}",
    type=["Bilevel", "Grayscale", "Palette"], compress=["None", "RLE"], version=["psd", "psb"])
row("psd", ["alpha", "greyalpha", "clear"], "convert {in} -depth {depth} -compress {compress} {version}:{out}",
    depth=[8, 16], compress=["None", "RLE", "Zip"], version=["psd", "psb"])
row("psd", COLORS, "convert {in} -colorspace CMYK -depth {depth} -compress {compress} {version}:{out}", 1,
    depth=[8, 16], compress=["None", "RLE", "Zip"], version=["psd", "psb"])
row("psd", ALL, "convert {in} {in} {in} -compress {compress} {version}:{out}", compress=["None", "RLE"],
    version=["psd", "psb"])

# DDS.
row("dds", ["colors", "few", "alpha"],
    "convert {in} -define dds:compression=none -define dds:mipmaps={levels} dds:{out}", levels=[0, 3])
row("dds", ["colors", "few", "alpha"],
    "convert {in} -define dds:compression={kind} -define dds:mipmaps={levels} dds:{out}", is_lossy=True, tolerance=1,
    kind=["dxt1", "dxt5"], levels=[0, 3],
    unless=lambda case: case["source"] == "alpha" and case["kind"] == "dxt1")
library("Pillow", "dds", ["colors", "grey", "alpha", "greyalpha"])
row("dds", ["clear"], "convert {in} -define dds:compression={kind} dds:{out}", is_lossy=True, tolerance=1,
    kind=["dxt1", "dxt5"])

# EXR.
row("exr", ["ramp"],  # of greys ffmpeg writes other numbers, in green alone
    FFMPEG + "-f image2 -c:v exr -compression {compress} -format {format} -pix_fmt {pixels} {out}", 2, shown=as_light,
    compress=["none", "rle", "zip1", "zip16"], format=["half", "float"],
    pixels=["gbrpf32le", "gbrapf32le"])
row("exr", ["grey"], FFMPEG + "-f image2 -c:v exr -compression {compress} -format {format} -pix_fmt grayf32le {out}",
    2, shown=as_light,
    compress=["none", "rle", "zip1", "zip16"], format=["half", "float"])
library("OpenCV", "exr", ["ramp", "grey"], depth=["float32"], shown=as_light, tolerance=1,
    parameters=[("IMWRITE_EXR_TYPE", 1), ("IMWRITE_EXR_TYPE", 2)])
library("OpenImageIO", "exr", ["ramp", "grey", "colors"], depth=["half", "float"], shown=as_light, tolerance=1,
    tile=[0, 16],
    compression=["none", "rle", "zip", "zips", "piz", "pxr24"], openexr_lineOrder=["increasingY", "decreasingY"])
library("OpenImageIO", "exr", ["ramp"], depth=["half", "float"], shown=as_light, tolerance=8, tile=[0, 16],
    compression=["b44", "b44a", "dwaa", "dwab"])
library("OpenCV", "exr", ["ramp"], depth=["float32"], shown=as_light, tolerance=1,
    parameters=[("IMWRITE_EXR_COMPRESSION", number) for number in (0, 1, 2, 3, 4, 5)])
library("OpenImageIO", "exr", ["alpha"], depth=["half", "float"], shown=as_light, tolerance=1,
    compression=["none", "rle", "zip", "zips", "piz", "pxr24"])
row("exr", ["ramp"], "maketx --threads 1 -d {depth} {in} -o {out}", 1, shown=as_light, depth=["half", "float"])
