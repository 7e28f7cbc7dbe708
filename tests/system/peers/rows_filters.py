"""Pixels that are mixed: sizes, blurs, sharpening, turns by any angle."""
import numpy
from libraries import cv2, ndimage, pil, resized
from PIL import Image, ImageFilter
from table import EXACT, ROUNDED, by_command, by_library

Resampling = Image.Resampling

CUT = "The classic function cuts off fractions where the others round."
FLOATS = "Both round a sum of products of floats."
NEAREST = "Both take the pixel under the middle of the new one; the size has no middles between two pixels."
KERNELS = (("bicubic", Resampling.BICUBIC), ("lanczos", Resampling.LANCZOS))

for width, height in ((83, 61), (500, 380)):
    for name, kernel in KERNELS:
        for picture in ("opaque", "alpha"):
            by_library("Pillow", f"resize:{width}x{height},filter={name}", 1, FLOATS, resized(width, height, kernel), picture)
    by_library("Pillow", f"resize:{width}x{height},filter=bilinear", 1, FLOATS, resized(width, height, Resampling.BILINEAR), "alpha")
by_library("OpenCV", "resize:83x61,filter=area", 2, CUT, lambda image: cv2.resize(image, (83, 61), interpolation=cv2.INTER_AREA))
by_library("OpenCV", "resize:83x61", 2, CUT, lambda image: cv2.resize(image, (83, 61), interpolation=cv2.INTER_AREA))
by_command("resize:83x61,filter=area", 2, CUT, "pamscale -linear -xsize 83 -ysize 61 opaque.ppm > theirs.ppm")
by_library("OpenCV", "fit:70x70", 2, CUT, lambda image: cv2.resize(image, (70, 53), interpolation=cv2.INTER_AREA))
by_library("OpenCV", "fill:60x60", 2, CUT, lambda image: cv2.resize(image, (80, 60), interpolation=cv2.INTER_AREA)[:, 10:70])
by_library("Pillow", "half", 1, CUT, pil(lambda image: image.reduce(2)))
by_library("Pillow", "resize:464x352,filter=nearest", 0, NEAREST, pil(lambda image: image.resize((464, 352), Resampling.NEAREST)), "alpha")
by_command("resize:464x352,filter=nearest", 0, NEAREST, "convert palette.png -sample 464x352! theirs.png", "palette")
by_command("resize:600x450,filter=nearest", 0, EXACT, "pamenlarge 3 opaque.ppm > theirs.ppm")

by_library("SciPy", "gaussian:9", 1, ROUNDED,
           lambda image: numpy.floor(ndimage.gaussian_filter(image.astype(float), (3, 3, 0), mode="nearest", truncate=3) + 0.5))
by_library("OpenCV", "gaussian:9", 2, "OpenCV has weights of 8 bits.", lambda image: cv2.GaussianBlur(image, (19, 19), 3, borderType=cv2.BORDER_REPLICATE))
by_command("gaussian:9", 1, ROUNDED, "convert opaque.png -gaussian-blur 9x3 theirs.png")
by_library("SciPy", "gaussian:60", 1, ROUNDED,
           lambda image: numpy.floor(ndimage.gaussian_filter(image.astype(float), (20, 20, 0), mode="nearest", truncate=3) + 0.5))

by_command("unsharp:2,80%", 1, ROUNDED, "convert opaque.png -unsharp 6x2+0.8+0 theirs.png")
by_command("unsharp:2,80%", 1, "GraphicsMagick draws edges out otherwise.", "gm convert opaque.png -unsharp 6x2+0.8+0 theirs.png", inside=6)
by_library("OpenCV", "unsharp:2,150%", 2, "OpenCV rounds the blurred picture to bytes.",
           lambda image: cv2.addWeighted(image, 2.5, cv2.GaussianBlur(image, (13, 13), 2, borderType=cv2.BORDER_REPLICATE), -1.5, 0))


def sharpened(image, amount, threshold):
    values = image.astype(float)
    distance = values - ndimage.gaussian_filter(values, (2, 2, 0), mode="nearest", truncate=3)
    return numpy.floor(numpy.clip(values + amount * distance * (abs(distance) >= threshold), 0, 255) + 0.5)


by_library("SciPy", "unsharp:2,80%", 1, ROUNDED, lambda image: sharpened(image, 0.8, 0))
by_library("SciPy", "unsharp:2,80%,threshold=4", 4, ROUNDED, lambda image: sharpened(image, 0.8, 4))

by_library("OpenCV", "blur:2", 1, ROUNDED, lambda image: cv2.blur(image, (5, 5), borderType=cv2.BORDER_REPLICATE))
by_library("Pillow", "max:2", 0, EXACT, pil(lambda image: image.filter(ImageFilter.MaxFilter(5))), "grey")
by_library("Pillow", "min:2", 0, EXACT, pil(lambda image: image.filter(ImageFilter.MinFilter(5))), "grey")


def turned(width, height):
    """By 30 degrees about the middle, in a picture of this size."""
    def run(image):
        matrix = cv2.getRotationMatrix2D(((image.shape[1] - 1) / 2, (image.shape[0] - 1) / 2), 30, 1)
        matrix[:, 2] += (width - image.shape[1]) / 2, (height - image.shape[0]) / 2
        return cv2.warpAffine(image, matrix, (width, height), flags=cv2.INTER_LINEAR, borderMode=cv2.BORDER_CONSTANT, borderValue=(32, 64, 96))
    return run


PLACES = "OpenCV rounds places to a 32nd of a pixel."
by_library("OpenCV", "rotate:30,fill=#204060", 5, PLACES, turned(200, 150))
by_library("OpenCV", "rotate:30,grow,fill=#204060", 5, PLACES, turned(249, 230))
