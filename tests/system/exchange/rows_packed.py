"""What programs write of the formats that are mostly packed: those of the web, and TIFF."""
from pictures import oriented
from table import ALL, COLORS, FFMPEG, library, magick_type_fits, row

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
row("png", ALL, "convert {in} -interlace {interlace} {version}:{out}", interlace=["none", "PNG"],
    version=["png32", "png64", "png00"])
row("png", COLORS, "convert {in} {version}:{out}", version=["png24", "png48"])
row("png", ["colors", "few"], FFMPEG + "-f apng -c:v apng -pix_fmt {format} {out}", format=["rgb24", "rgba"])

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
row("jpg", ["colors", "few"], "convert {in} -colorspace {colors} -quality {quality} jpeg:{out}", is_lossy=True,
    colors=["Gray", "CMYK"], quality=[50, 100])
row("jpg", ["colors", "few"], "gm convert {in} -colorspace {colors} -quality {quality} jpeg:{out}", is_lossy=True,
    colors=["Gray", "CMYK"], quality=[50, 100])

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
row("tif", ["colors", "grey"], "convert {in} -colorspace CMYK -depth {depth} -compress {compress} tiff:{out}", 1,
    depth=[8, 16], compress=["None", "LZW", "Zip"])
row("tif", ["colors"], "gm convert {in} -colorspace CMYK -depth 8 -compress {compress} tiff:{out}", is_lossy=True,
    tolerance=1, compress=["None", "LZW", "Zip"])
row("tif", ["colors", "grey"], "pnmtotiffcmyk {compress} {in} >{out}", is_lossy=True, tolerance=1,
    compress=["-none", "-packbits", "-lzw"])  # which moves colour to black
row("tif", ["colors", "grey"], "convert {in} -colorspace Lab -depth {depth} -compress {compress} tiff:{out}", 30,
    depth=[8, 16], compress=["None", "LZW"])  # clear colours lie outside of what 8 bits of a and b keep
row("tif", ["alpha"], "convert {in} -define tiff:alpha=associated -depth 16 tiff:{out}", 1)
row("tif", ALL, "convert {in} ptif:{out}")
row("tif", ALL, "gm convert {in} ptif:{out}")
row("tif", ["colors", "grey"], "gm convert {in} -depth 32 -compress {compress} tiff:{out}", compress=["None", "LZW"])
row("tif", ["colors", "grey"], "gm convert {in} -compress JPEG tiff:{out}", is_lossy=True)
row("tif", ["two"], "pamtotiff -indexbits={bits} {in} -output {out}", bits=[1, 2, 4, 8])
row("tif", ["colors", "grey"], FFMPEG + "-c:v tiff -pix_fmt {format} {out}", is_lossy=True, tolerance=2,
    format=["yuv420p", "yuv422p", "yuv440p", "yuv444p", "yuv410p", "yuv411p"])
library("OpenImageIO", "tif", ["colors", "alpha"], compression=["zip"], tiff_bigtiff=[0, 1], tiff_RowsPerStrip=[1, 64])
library("OpenImageIO", "tif", ["colors", "grey"], is_lossy=True, compression=["jpeg"], tile=[0, 16],
    unless=lambda case: case["source"] == "colors" and case["tile"] == 16)  # which no program reads, itself included
library("OpenImageIO", "tif", ["alpha", "greyalpha"], 1, options={"multiplied": True}, depth=["uint16", "half", "float"],
    compression=["none", "zip"], planarconfig=["contig", "separate"], tile=[0, 16])

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
row("gif", ["clear"], "gm convert {in} +dither gif:{out}")
row("gif", ["clear"], "pamtogif {options} {in} >{out}", 1, options=["", "-interlace", "-nolzw"])

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
