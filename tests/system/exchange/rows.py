"""What each program writes: a format, the pictures that it gets, a command, and the variants of it."""
import dataclasses
import typing

from pictures import as_given, as_light, oriented

ROWS = []
FIVE_BITS, FOUR_BITS = 12, 28  # what cutting 8 bits to so many loses


@dataclasses.dataclass
class Row:
    program: str
    extension: str
    axes: dict
    command: str = ""
    options: dict = dataclasses.field(default_factory=dict)  # of libraries
    tolerance: int = 0
    shown: typing.Callable = as_given  # what is to be shown of the picture
    is_lossy: bool = False  # compared with what Pillow shows, which has the same decoder
    unless: typing.Optional[typing.Callable] = None  # what the program does not write

    def title(self, case):
        return f"{self.program} {self.extension} {self.command} " + " ".join(f"{name}={value}" for name,
    value in case.items())


def row(extension, sources, command, tolerance=0, shown=as_given, is_lossy=False, unless=None, **axes):
    ROWS.append(Row(command.split()[0], extension, {"source": sources, **axes}, command, {}, tolerance, shown,
    is_lossy, unless))


def library(program, extension, sources, tolerance=0, shown=as_given, is_lossy=False, unless=None, options=None,
    **axes):
    ROWS.append(Row(program, extension, {"source": sources, **axes}, "", options or {}, tolerance, shown, is_lossy,
    unless))


COLORS = ["colors", "few", "sixteen", "grey", "two"]
ALL = [*COLORS, "alpha"]
FFMPEG = "ffmpeg -v error -y -f image2 -i {in} -sws_dither none -sws_flags accurate_rnd+full_chroma_int+bitexact "
IM_TYPES = ["TrueColor", "Palette", "Grayscale", "Bilevel"]


def magick_type_fits(case):
    """Which pictures a type of ImageMagick keeps as they are."""
    return case["source"] in {"Palette": ("few", "sixteen", "two"), "Grayscale": ("grey", "two"),
    "Bilevel": ("two",)}.get(case["type"], ALL)


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

# PNG.
row("png", ALL, "convert {in} -depth {depth} -interlace {interlace} -quality {quality} png:{out}", depth=[8, 16],
    interlace=["none", "PNG"], quality=[0, 95])
row("png", ["grey", "two", "greyalpha"], "convert {in} -depth {depth} -interlace {interlace} png:{out}", depth=[8, 16],
    interlace=["none", "PNG"])
row("png", ["few", "sixteen", "grey", "two"], "convert {in} -interlace {interlace} png8:{out}",
    interlace=["none", "PNG"])
row("png", ["two"], "convert {in} -define png:color-type={kind} -define png:bit-depth={depth} png:{out}", kind=[0, 3],
    depth=[1, 2, 4, 8])
row("png", ["clear"], "convert {in} png8:{out}")
row("png", ALL, "gm convert {in} -interlace {interlace} {version}:{out}", interlace=["none", "Line"], version=["png32"])
row("png", COLORS, "gm convert {in} -interlace {interlace} {version}:{out}", interlace=["none", "Line"],
    version=["png24"])
row("png", ["sixteen", "two"], "gm convert {in} +dither png8:{out}")
row("png", COLORS, "pamdepth {depth} {in} | pnmtopng {interlace} {filter} >{out}", depth=[255, 65535],
    interlace=["", "-interlace"],
    filter=["", "-paeth", "-avg", "-sub", "-up", "-nofilter"])
row("png", [*ALL, "greyalpha"], "pamdepth {depth} {in} | pamtopng {interlace} >{out}", depth=[255, 65535],
    interlace=["", "-interlace"])
row("png", ["colors", "few"], FFMPEG + "-f image2 -c:v png -pix_fmt {format} -pred {filter} {out}", 1,
    format=["rgb24", "rgba", "rgb48be", "rgba64be"],
    filter=["none", "sub", "up", "avg", "paeth", "mixed"])
row("png", ["alpha"], FFMPEG + "-f image2 -c:v png -pix_fmt {format} {out}", 1, format=["rgba", "rgba64be"])
row("png", ["grey", "two"], FFMPEG + "-f image2 -c:v png -pix_fmt {format} {out}", 1,
    format=["gray", "ya8", "gray16be", "ya16be"])
row("png", ["two"], FFMPEG + "-f image2 -c:v png -pix_fmt {format} {out}", 3, format=["monob", "pal8"])
library("Pillow", "png", [*ALL, "greyalpha"], compress_level=[0, 9], optimize=[False, True])
library("Pillow", "png", ["few", "sixteen", "grey", "two"], mode=["P"], optimize=[False, True])
library("Pillow", "png", ["two"], mode=["1", "L", "P"], bits=[None])
library("Pillow", "png", ["two"], mode=["P"], bits=[1, 2, 4, 8])
library("Pillow", "png", ["grey"], mode=["I;16", "I"])
library("OpenCV", "png", ALL, depth=["uint8", "uint16"],
    parameters=[("IMWRITE_PNG_COMPRESSION", 0), ("IMWRITE_PNG_COMPRESSION", 9)])
library("OpenCV", "png", ["two"], parameters=[("IMWRITE_PNG_BILEVEL", 1)])
library("OpenImageIO", "png", [*ALL, "greyalpha"], depth=["uint8", "uint16"])

# JPEG.
row("jpg", ["colors", "few", "grey"],
    "convert {in} -sampling-factor {sampling} -quality {quality} -interlace {interlace} jpeg:{out}", is_lossy=True,
    sampling=["1x1", "2x1", "1x2", "2x2", "4x1"], quality=[30, 80, 100], interlace=["none", "JPEG"])
row("jpg", ["colors", "grey"], "convert {in} -define jpeg:arithmetic-coding=true jpeg:{out}", is_lossy=True)
row("jpg", ["colors", "grey"], "gm convert {in} -sampling-factor {sampling} -interlace {interlace} jpeg:{out}",
    is_lossy=True,
    sampling=["1x1", "2x1", "2x2"], interlace=["none", "Line"])
row("jpg", ["colors", "grey"], "pnmtojpeg {options} -quality={quality} {in} >{out}", is_lossy=True,
    quality=[20, 75, 100],
    options=["", "-progressive", "-optimize", "-greyscale", "-restart=3", "-dct=float", "-smooth=10", "-sample=1x1"])
row("jpg", ["colors", "grey"], FFMPEG + "-f image2 -c:v mjpeg -pix_fmt {format} -huffman {codes} {out}", is_lossy=True,
    format=["yuvj420p", "yuvj422p", "yuvj444p"], codes=["default", "optimal"])
library("Pillow", "jpg", ["colors", "grey"], is_lossy=True, progressive=[False, True], subsampling=[0, 1, 2],
    quality=[10, 95])
library("Pillow", "jpg", ["colors"], is_lossy=True, mode=["CMYK"])
library("OpenCV", "jpg", ["colors", "grey"], is_lossy=True,
    parameters=[("IMWRITE_JPEG_QUALITY", 50), ("IMWRITE_JPEG_PROGRESSIVE", 1), ("IMWRITE_JPEG_OPTIMIZE", 1),
    ("IMWRITE_JPEG_RST_INTERVAL", 2)])
library("OpenImageIO", "jpg", ["colors", "grey"], is_lossy=True, jpeg_subsampling=["4:4:4", "4:2:2", "4:2:0", "4:1:1"])

# TIFF.
IM_PACKINGS = ["None", "LZW", "Zip", "RLE", "LZMA", "ZSTD"]
row("tif", [*ALL, "greyalpha"],
    "convert {in} -depth {depth} -compress {compress} -endian {endian} {layout} {version}:{out}",
    depth=[8, 16, 32], compress=IM_PACKINGS, endian=["LSB", "MSB"], version=["tiff", "tiff64"],
    layout=["", "-interlace Plane", "-define tiff:rows-per-strip=5", "-define tiff:tile-geometry=16x16"])
row("tif", ["colors", "few", "grey"],
    "convert {in} -depth {depth} -compress {compress} -define tiff:predictor={predictor} tiff:{out}",
    depth=[8, 16, 32], compress=["LZW", "Zip"], predictor=[1, 2])
row("tif", ["colors", "grey"],
    "convert {in} -depth {depth} -compress {compress} -define quantum:format=floating-point -define tiff:predictor={predictor} tiff:{out}",
    depth=[16, 32, 64], compress=["None", "LZW", "Zip"], predictor=[2,
    3], unless=lambda case: case["compress"] == "None")
row("tif", ["few", "sixteen", "two"], "convert {in} +dither -type Palette -compress {compress} tiff:{out}",
    compress=IM_PACKINGS)
row("tif", ["two"],
    "convert {in} -type Bilevel -compress {compress} -define quantum:polarity={polarity} -define tiff:fill-order={order} tiff:{out}",
    compress=["None", "LZW", "Zip", "RLE", "Fax", "Group4"], polarity=["min-is-black", "min-is-white"], order=["msb",
    "lsb"],
    unless=lambda case: case["polarity"] == "min-is-white" and case["compress"] not in ("Fax",
    "Group4"))  # which it inverts
row("tif", ["two"], "convert {in} -type Grayscale -depth {depth} tiff:{out}", depth=[1, 2, 4, 10, 12, 14, 16])
row("tif", ["alpha", "greyalpha"], "convert {in} -define tiff:alpha=unassociated -depth {depth} tiff:{out}",
    depth=[8, 16])
for name, number in {"TopLeft": 1, "TopRight": 2, "BottomRight": 3, "BottomLeft": 4, "LeftTop": 5, "RightTop": 6,
    "RightBottom": 7, "LeftBottom": 8}.items():
    row("tif", [*ALL, "greyalpha"], "convert {in} -define tiff:alpha=unassociated -orient " + name + " tiff:{out}",
        shown=lambda picture, _, number=number: oriented(picture, {"orientation": number}))
row("tif", ["colors", "grey"], "convert {in} -compress JPEG tiff:{out}", is_lossy=True)
row("tif", ALL, "gm convert {in} -depth {depth} -compress {compress} -endian {endian} {layout} {version}:{out}",
    depth=[8, 16], compress=["None", "LZW", "Zip", "RLE", "LZMA", "ZSTD"], endian=["LSB", "MSB"], version=["tiff",
    "bigtiff"],
    layout=["", "-interlace Plane", "-define tiff:rows-per-strip=5", "-define tiff:tile-geometry=16x16"])
row("tif", ["two"], "gm convert {in} -monochrome -compress {compress} -define tiff:fill-order={order} tiff:{out}",
    compress=["None", "Fax", "Group4"], order=["msb", "lsb"])
row("tif", COLORS, "pamtotiff {compress} -truecolor {strip} {order} -output {out} {in}",
    compress=["-none", "-packbits", "-lzw", "-flate", "-adobeflate"],
    strip=["", "-rowsperstrip=3"], order=["", "-lsb2msb"])
row("tif", ["few", "sixteen"], "pamtotiff {compress} -color -output {out} {in}",
    compress=["-none", "-packbits", "-lzw -predictor=2", "-flate"])
row("tif", ["grey", "two"], "pamtotiff {compress} {polarity} -output {out} {in}",
    compress=["-none", "-packbits", "-lzw", "-flate"], polarity=["-minisblack", "-miniswhite"])
row("tif", ["two"], "pamthreshold -simple {in} | pamtotiff {compress} {polarity} -output {out}",
    compress=["-none", "-g3", "-g3 -2d", "-g3 -fill", "-g4", "-packbits"],
    polarity=["-minisblack", "-miniswhite"])
row("tif", ["colors", "few", "grey"],
    FFMPEG + "-f image2 -c:v tiff -compression_algo {compress} -pix_fmt {format} {out}", 1,
    compress=["packbits", "raw", "lzw", "deflate"], format=["rgb24", "rgb48le", "rgba", "rgba64le"])
row("tif", ["alpha"], FFMPEG + "-f image2 -c:v tiff -compression_algo {compress} -pix_fmt {format} {out}", 1,
    compress=["packbits", "raw", "lzw", "deflate"], format=["rgba", "rgba64le"])
row("tif", ["grey", "two"], FFMPEG + "-f image2 -c:v tiff -compression_algo {compress} -pix_fmt {format} {out}", 1,
    compress=["packbits", "raw", "lzw", "deflate"], format=["gray", "ya8", "gray16le", "ya16le"])
row("tif", ["two"], FFMPEG + "-f image2 -c:v tiff -compression_algo {compress} -pix_fmt {format} {out}", 3,
    compress=["packbits", "raw", "lzw", "deflate"], format=["monob", "monow", "pal8"])
PIL_PACKINGS = [None, "packbits", "tiff_lzw", "tiff_deflate", "tiff_adobe_deflate", "lzma", "zstd"]
library("Pillow", "tif", [*ALL, "greyalpha"], compression=PIL_PACKINGS)
library("Pillow", "tif", ["few", "sixteen", "grey"], mode=["P"], compression=PIL_PACKINGS)
library("Pillow", "tif", ["two"], mode=["1"], compression=[*PIL_PACKINGS, "group3", "group4", "tiff_ccitt"])
library("Pillow", "tif", ["grey"], mode=["I;16", "F"], compression=PIL_PACKINGS)
library("Pillow", "tif", ["colors"], mode=["CMYK"], compression=PIL_PACKINGS)
library("Pillow", "tif", ["colors", "grey"], is_lossy=True, compression=["jpeg"], quality=[50, 95])
library("OpenCV", "tif", ALL, depth=["uint8", "uint16"],
    parameters=[("IMWRITE_TIFF_COMPRESSION", number) for number in (1, 5, 8, 32773)])
library("OpenCV", "tif", ["colors", "grey"], depth=["float32", "float64"],
    parameters=[("IMWRITE_TIFF_COMPRESSION", 1), ("IMWRITE_TIFF_COMPRESSION", 5)],
    unless=lambda case: case["source"] == "colors" and case["depth"] == "float64")
library("OpenImageIO", "tif", [*ALL, "greyalpha"], depth=["uint8", "uint16", "uint32", "half", "float", "double"],
    tile=[0, 16],
    compression=["none", "lzw", "zip", "packbits", "ccittrle"][:4], planarconfig=["contig", "separate"])
library("OpenImageIO", "tif", ["two"], oiio_BitsPerSample=[1, 2, 4], compression=["none", "lzw", "zip"])
library("OpenImageIO", "tif", ["two"], depth=["uint16"], oiio_BitsPerSample=[10, 12, 14],
    compression=["none", "lzw", "zip"])

# PSD.
row("psd", COLORS, "convert {in} -depth {depth} -compress {compress} {version}:{out}", depth=[8, 16],
    compress=["None", "RLE", "Zip"], version=["psd", "psb"])
row("psd", ["two"], "convert {in} -type {type} -compress {compress} {version}:{out}",
    type=["Bilevel", "Grayscale", "Palette"], compress=["None", "RLE"], version=["psd", "psb"])

# DDS.
row("dds", ["colors", "few", "alpha"],
    "convert {in} -define dds:compression=none -define dds:mipmaps={levels} dds:{out}", levels=[0, 3])
row("dds", ["colors", "few", "alpha"],
    "convert {in} -define dds:compression={kind} -define dds:mipmaps={levels} dds:{out}", is_lossy=True, tolerance=1,
    kind=["dxt1", "dxt5"], levels=[0, 3],
    unless=lambda case: case["source"] == "alpha" and case["kind"] == "dxt1")
library("Pillow", "dds", ["colors", "grey", "alpha", "greyalpha"])

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

# GIF.
row("gif", ["few", "sixteen", "grey", "two"], "convert {in} +dither -interlace {interlace} {version}:{out}",
    interlace=["none", "GIF"], version=["gif", "gif87"])
row("gif", ["clear"], "convert {in} +dither -interlace {interlace} gif:{out}", interlace=["none", "GIF"])
row("gif", ["sixteen", "two", "grey"], "gm convert {in} +dither -interlace {interlace} {version}:{out}",
    interlace=["none", "Line"], version=["gif", "gif87"])
row("gif", ["few", "sixteen", "grey", "two"], "pamtogif {options} {in} >{out}",
    options=["", "-interlace", "-nolzw", "-sort"])
row("gif", ["grey"], FFMPEG + "-c:v gif -pix_fmt gray {out}")
row("gif", ["two"], FFMPEG + "-c:v gif -pix_fmt {format} {out}", 3,
    format=["rgb8", "bgr8", "rgb4_byte", "bgr4_byte", "pal8"])
library("Pillow", "gif", ["few", "sixteen", "grey", "two"], mode=["P"], interlace=[0, 1], optimize=[False, True])
library("OpenImageIO", "gif", ["sixteen"])

# WebP.
row("webp", ALL,
    "convert {in} -define webp:lossless=true -define webp:method={method} -define webp:exact=true webp:{out}",
    method=[0, 4, 6])
row("webp", ALL, "convert {in} -quality {quality} webp:{out}", is_lossy=True, quality=[20, 90])
row("webp", ALL, "gm convert {in} -define webp:lossless=true webp:{out}")
row("webp", ["colors", "alpha"], FFMPEG + "-c:v libwebp -lossless {lossless} {out}", is_lossy=True, lossless=[0, 1])
library("Pillow", "webp", ALL, lossless=[True], exact=[True], method=[0, 6])
library("Pillow", "webp", ALL, is_lossy=True, quality=[10, 90], alpha_quality=[20, 100])
library("OpenCV", "webp", ["colors", "alpha"], is_lossy=True,
    parameters=[("IMWRITE_WEBP_QUALITY", 60), ("IMWRITE_WEBP_QUALITY", 101)])
library("OpenImageIO", "webp", ["colors", "alpha"], is_lossy=True)
