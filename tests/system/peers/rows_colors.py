"""Levels, grey, palettes: each pixel by itself."""
import numpy
from libraries import call, cv2, doubles, pil, vips
from PIL import Image, ImageOps
from table import EXACT, ROUNDED, TABLED, by_command, by_library

CHOSEN = "Both take the nearest entry, and two entries may be equally near."
WEIGHTS = "Both take 0.299, 0.587 and 0.114 of the stored levels, rounded."


def grey(image):
    return image.convert("L").convert("RGB")


def curve(array, values):
    table = numpy.floor(numpy.clip(values, 0, 255) + 0.5).astype(numpy.uint8)
    return cv2.LUT(array, table)


LEVELS = numpy.arange(256.0)

by_command("levels:40,200", 1, TABLED, "convert opaque.png -level 15.6862745%,78.4313725% theirs.png")
by_command("levels:40,200", 1, TABLED, "gm convert opaque.png -level 10280,1,51400 theirs.png")
by_command("levels:20,230,gamma=1.5", 1, TABLED, "convert opaque.png -level 7.8431373%,90.1960784%,1.5 theirs.png")
by_command("levels:0,255,gamma=0.6", 1, TABLED, "convert opaque.png -gamma 0.6 theirs.png")
by_command("levels:0,255,gamma=0.6", 1, TABLED, "pnmgamma -ungamma 1.66666667 opaque.ppm > theirs.ppm")
by_command("levels:0,255,low=30,high=180", 1, TABLED, "convert opaque.png +level 11.7647059%,70.5882353% theirs.png")
by_command("levels:40,200,channels=r", 1, TABLED, "convert opaque.png -channel R -level 15.6862745%,78.4313725% theirs.png")
by_library("OpenCV", "levels:40,200", 0, TABLED, lambda image: curve(image, (LEVELS - 40) * 255 / 160))
by_library("Pillow", "levels:60,180", 1, TABLED,
           pil(lambda image: image.point([min(255, max(0, round((v - 60) * 255 / 120))) for v in range(256)] * 3)))
by_library("libvips", "levels:51,204", 1, "libvips truncates where dib rounds.",
           vips(lambda image: call("linear", image, a=doubles([255 / 153]), b=doubles([-85.0]), uchar=True)))

by_library("Pillow", "grey", 0, WEIGHTS, pil(grey))
by_library("OpenCV", "grey", 1, WEIGHTS + " OpenCV has weights of 15 bits.", lambda image: cv2.cvtColor(image, cv2.COLOR_RGB2GRAY))
by_command("grey", 1, WEIGHTS, "convert opaque.png -grayscale Rec601Luma theirs.png")
by_command("grey", 1, WEIGHTS, "gm convert opaque.png -colorspace Rec601Luma theirs.png")
by_command("grey", 1, WEIGHTS, "ppmtopgm opaque.ppm > theirs.ppm")
by_command("grey:709", 1, "Both take 0.2126, 0.7152 and 0.0722 of the stored levels, rounded.",
           "convert opaque.png -grayscale Rec709Luma theirs.png")
by_command("grey:mean", 1, "Both take a third of each level, rounded.", "convert opaque.png -grayscale Average theirs.png")

by_library("Pillow", "threshold:100", 0, WEIGHTS, pil(lambda image: grey(image).point(lambda v: 255 if v >= 100 else 0)))
by_library("OpenCV", "grey:mean threshold:90,weights=mean", 0, "Of greys only comparisons remain.",
           lambda image: cv2.threshold(numpy.floor(image.astype(float).mean(2) + 0.5).astype(numpy.uint8), 89, 255, cv2.THRESH_BINARY)[1])
by_command("threshold:128", 0, "ImageMagick makes white what is above its level, dib what reaches it.",
           "convert grey.png -threshold 49.9% theirs.png", "grey")
by_command("threshold:128", 0, "Nothing but a comparison of levels.",
           "ppmtopgm grey.ppm | pamthreshold -simple -threshold=0.5 | pamdepth 255 | pamtopnm > theirs.ppm", "grey")

by_command("posterize:5", 1, TABLED, "convert opaque.png +dither -posterize 5 theirs.png")
by_command("posterize:6", 1, TABLED, "pamdepth 5 opaque.ppm | pamdepth 255 > theirs.ppm")
by_library("OpenCV", "posterize:9", 0, TABLED, lambda image: curve(image, numpy.floor(LEVELS * 8 / 255 + 0.5) * 255 / 8))

by_library("Pillow", "reverse", 0, EXACT, pil(ImageOps.invert))
by_command("reverse", 0, EXACT, "convert alpha.png -channel RGB -negate theirs.png", "alpha")
by_command("invert", 0, EXACT, "pnminvert opaque.ppm > theirs.ppm")
by_command("gamma:1.8", 1, TABLED, "convert opaque.png -gamma 1.8 theirs.png")


def flattened(image):
    under = Image.new("RGBA", image.size, (255, 128, 0, 255))
    return Image.alpha_composite(under, image).convert("RGB")


by_library("Pillow", "flatten:#ff8000", 1, ROUNDED, pil(flattened), "alpha")
by_command("flatten:#ff8000", 1, ROUNDED, "convert alpha.png -background #ff8000 -alpha remove -alpha off theirs.png", "alpha")
by_command("flatten:#ff8000", 1, ROUNDED, "gm convert -size 200x150 xc:#ff8000 alpha.png -flatten theirs.png", "alpha")
by_library("libvips", "flatten:#ff8000", 1, "libvips truncates where dib rounds.",
           vips(lambda image: call("flatten", image, background=doubles([255.0, 128.0, 0.0]))), "alpha")

for count in (2, 4, 16, 64, 256):
    by_command(f"colors:{count},dither=none", 0, "Each has its own palette, so that errors are compared.",
               f"convert opaque.png +dither -colors {count} theirs.png", is_error=True)
for count in (16, 256):
    by_library("Pillow", f"colors:{count},dither=none", 0, "Each has its own palette, so that errors are compared.",
               pil(lambda image, count=count: image.quantize(count, dither=Image.Dither.NONE).convert("RGB")), is_error=True)
    by_command(f"colors:{count},dither=none", 0, "Each has its own palette, so that errors are compared.",
               f"pnmquant {count} opaque.ppm > theirs.ppm", is_error=True)
by_command("remap:palette.png,dither=none", 0, CHOSEN, "convert opaque.png +dither -remap palette.png theirs.png", is_error=True)
by_command("remap:palette.png,dither=none", 0, CHOSEN, "pnmremap -mapfile=palette.ppm opaque.ppm > theirs.ppm", is_error=True)
by_library("Pillow", "remap:palette.png,dither=none", 0, CHOSEN,
           pil(lambda image, colors: image.quantize(palette=colors.quantize(40), dither=Image.Dither.NONE).convert("RGB")),
           "opaque+palette", is_error=True)
