"""The pictures that programs get, and what is to be shown of them."""
import itertools
import random

WIDTH, HEIGHT = 37, 23

# Pictures: rows of pixels of four bytes. Areas as well as noise, so that runs of both kinds occur.


def make_picture(kind):
    noise = random.Random(31)

    def pixel(x, y):
        is_area = x // 9 % 2 == 0
        value = (x // 9 + y // 7) * 5 if is_area else noise.randrange(100, 200)
        alpha = noise.randrange(1, 256) if kind in ("alpha", "greyalpha") else 255 * (value % 3 > 0) if kind == "clear" else 255
        if kind in ("colors", "alpha") and not is_area:
            return value, noise.randrange(256), noise.randrange(256), alpha
        if kind == "ramp":
            return 40 + 5 * x, 60 + 4 * x + 2 * y, 250 - 5 * x, 255
        if kind in ("sixteen", "two"):
            value = value % 12 * 17 if kind == "sixteen" else value % 2 * 255
        if kind in ("few", "sixteen", "clear"):
            return value // 2, 255 - value, value, alpha
        return value, value, value, alpha
    return [[pixel(x, y) for x in range(WIDTH)] for y in range(HEIGHT)]


KINDS = ("colors", "few", "sixteen", "two", "grey", "ramp", "alpha", "greyalpha", "clear")
CHANNELS = {"grey": "L", "two": "1", "greyalpha": "LA", "alpha": "RGBA", "clear": "RGBA"}  # else "RGB"
TUPLES = {"LA": "GRAYSCALE_ALPHA", "RGBA": "RGB_ALPHA"}


def samples_of(kind, picture):
    mode = CHANNELS.get(kind, "RGB")
    keep = {"L": [0], "1": [0], "LA": [0, 3], "RGB": [0, 1, 2], "RGBA": [0, 1, 2, 3]}[mode]
    return bytes(pixel[i] for row in picture for pixel in row for i in keep)


def write_source(folder, kind, picture):
    mode = CHANNELS.get(kind, "RGB")
    data = samples_of(kind, picture)
    extension = {"L": "pgm", "1": "pgm", "RGB": "ppm"}.get(mode, "pam")
    head = f"{'P6' if mode == 'RGB' else 'P5'}\n{WIDTH} {HEIGHT}\n255\n"
    if extension == "pam":
        head = f"P7\nWIDTH {WIDTH}\nHEIGHT {HEIGHT}\nDEPTH {len(mode)}\nMAXVAL 255\nTUPLTYPE {TUPLES[mode]}\nENDHDR\n"
    path = folder / f"{kind}.{extension}"
    path.write_bytes(head.encode() + data)
    return path


def read_pam(data):
    head, _, samples = data.partition(b"ENDHDR\n")
    field = dict(line.split(None, 1) for line in head.decode().splitlines()[1:])
    width, depth, largest = int(field["WIDTH"]), int(field["DEPTH"]), int(field["MAXVAL"])
    pixels = [[value * 255 // largest for value in samples[i:i + depth]] for i in range(0, len(samples), depth)]
    full = {1: lambda p: (p[0], p[0], p[0], 255), 2: lambda p: (p[0], p[0], p[0], p[1]),
            3: lambda p: (*p, 255), 4: tuple}[depth]
    pixels = [full(pixel) for pixel in pixels]
    return [pixels[i:i + width] for i in range(0, len(pixels), width)]


# What is to be shown of a picture.

def as_given(picture, _values):
    return picture


def oriented(picture, values):
    """As EXIF numbers orientations."""
    number = int(values["orientation"])
    if number >= 5:
        picture = [list(column) for column in zip(*picture)]
    if number in (3, 4, 7, 8):
        picture = picture[::-1]
    return [row[::-1] for row in picture] if number in (2, 3, 6, 7) else picture


def upside_down(picture, _values):
    """PFM files of ffmpeg, which begins at the top where all others begin at the bottom."""
    return picture[::-1]


def as_light(picture, _values):
    """Bytes that were taken for light are shown by the power 1/2.2."""
    shown = [round(255 * (value / 255) ** (1 / 2.2)) for value in range(256)]
    return [[tuple(shown[value] for value in pixel) for pixel in row] for row in picture]


def as_multiplied_light(picture, values):
    return as_light([[(*(round(c * p[3] / 255) for c in p[:3]), p[3]) for p in row] for row in picture], values)


def difference(one, other):
    """The largest difference of samples; colours of clear pixels do not count."""
    if len(one) != len(other) or len(one[0]) != len(other[0]):
        return f"{len(one[0])}x{len(one)} instead of {len(other[0])}x{len(other)}"
    largest = 0
    for a, b in zip(itertools.chain(*one), itertools.chain(*other)):
        count = 4 if b[3] > 0 else 0
        largest = max(largest, abs(a[3] - b[3]), *(abs(a[i] - b[i]) for i in range(count)), 0)
    return largest
