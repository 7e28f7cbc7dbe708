"""Effects that follow the classic functions, by their formulas: whole pixels by rank, slopes, reliefs, smears and blends."""
import math

import numpy
from libraries import ndimage, pil
from PIL import Image
from table import EXACT, by_library

# Places that are not whole are mixed in 256ths, and sums are cut.
MIXED = "Both mix four pixels, here in 256ths; the sum is cut, not rounded."


def picked(choose):
    """A whole pixel of each square by brightness; of equally bright ones the first counts as the brighter, or darker, one."""
    def run(image):
        red, green, blue = numpy.moveaxis(image.astype(numpy.int64), 2, 0)
        places = numpy.arange(red.size).reshape(red.shape)
        keys = choose(73 * red + 146 * green + 37 * blue, lambda scores: scores * red.size + red.size - 1 - places)
        return image.reshape(-1, 3)[red.size - 1 - keys % red.size]
    return run


def brightest(size):
    return picked(lambda scores, keys: ndimage.maximum_filter(keys(scores), size, mode="nearest"))


def darkest(size):
    return picked(lambda scores, keys: ndimage.maximum_filter(keys(255 * 256 - scores), size, mode="nearest"))


def middle(size):
    """(n + 1) / 2 of n pixels are brighter."""
    rank = size * size - 1 - (size * size + 1) // 2
    return picked(lambda scores, keys: ndimage.rank_filter(keys(scores), rank, size, mode="nearest"))


def sloped(image):
    """Beyond 255 the low eight bits are kept."""
    down, right = numpy.gradient(2.0 * image, axis=(0, 1))
    return numpy.floor(numpy.hypot(down, right)).astype(int) & 255


def sample(image, length, degrees):
    """The picture that far ahead, clockwise from the right."""
    x, y = length * math.cos(math.radians(degrees)), length * math.sin(math.radians(degrees))
    return ndimage.shift(image.astype(float), (-y, -x, *[0] * (image.ndim - 2)), order=1, mode="nearest")


def raised(strength, distance, degrees):
    def run(image):
        slope = sum(sample(image, i, degrees) - sample(image, -i, degrees) for i in range(1, distance + 1))
        return numpy.floor(numpy.clip(127.5 + slope * strength / distance, 0, 255))
    return run


def smeared(length, degrees):
    def run(image):
        total = sum((length - i) * sample(image, i, degrees) for i in range(length))
        return numpy.floor(total / (length * (length + 1) / 2))
    return run


for radius in (1, 4):
    side = 2 * radius + 1
    by_library("SciPy", f"max:{radius}", 0, EXACT, brightest(side))
    by_library("SciPy", f"min:{radius}", 0, EXACT, darkest(side))
    by_library("SciPy", f"median:{radius}", 0, EXACT, middle(side), inside=radius)
by_library("SciPy", "median:4", 0, EXACT, middle(9), "palette", inside=4)
for word, ranked in ("max:4", brightest(9)), ("min:4", darkest(9)), ("median:4", middle(9)):
    by_library("SciPy", f"bpp:16 {word} bpp:24", 0, EXACT, lambda image, ranked=ranked: ranked(image & 248), inside=4)
by_library("NumPy", "edge", 0, "Both cut the root of whole numbers.", sloped, inside=1)
by_library("SciPy", "emboss:2,distance=2,angle=0", 0, EXACT, raised(2, 2, 0))
by_library("SciPy", "emboss:1,distance=3,angle=30", 1, MIXED, raised(1, 3, 30))
by_library("SciPy", "emboss:1,distance=3,angle=30", 1, MIXED, raised(1, 3, 30), "grey")
by_library("SciPy", "motion-blur:9", 0, EXACT, smeared(9, 0))
by_library("SciPy", "motion-blur:9,angle=30", 1, MIXED, smeared(9, 30))
by_library("SciPy", "motion-blur:9,angle=30", 1, MIXED, smeared(9, 30), "grey")
by_library("Pillow", "compose:far.png,30%", 2, "The classic function divides by 256 and cuts, so that white over white is 254.",
           pil(lambda image, far: Image.blend(image, far, 0.3)), "opaque+far")
