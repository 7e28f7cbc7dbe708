"""The pictures that the recipes of docs/recipes.md start from, made of the sample picture and by dib itself.

usage: inputs.py DIB MAKE_SAMPLE_PICTURE FOLDER     the folder must not exist
"""
import math
import pathlib
import struct
import subprocess
import sys

# Parts of a sample picture of 640 x 480 pixels.
PHOTOS = {"boat": "110,200,320x220", "clouds": "160,0,360x200", "evening": "300,60,340x190", "hat": "400,160,240x320",
          "house": "0,150,320x240", "lake": "0,0,640x480", "mountains": "30,60,400x220", "sign": "40,220,360x260"}
TILES = {"cloud": "420,20,64x64", "grass": "360,416,64x64", "hat": "490,250,64x64", "hill": "350,225,64x64",
         "roof": "30,185,64x64", "sail": "262,250,64x64", "stripes": "500,416,64x64", "water": "130,290,64x64"}
COIN = 48  # pixels
FRAMES = 8

PAGE = (620, 420)
HEADING = "Minutes of the meeting"
LINES = """Present: all but two, who sent word.
1. The roof of the boathouse lets in water.
   New tiles cost 480. The work can be done
   before winter.
2. The fee for a mooring stays at 12 a month.
   Guests pay 2 a night.
3. Two sails are torn. They will be mended.
4. The path along the lake is closed in the
   evening while the birds are nesting.
Next meeting: the first Monday in March."""


class Maker:
    def __init__(self, dib, make_sample, folder):
        self.dib, self.folder = str(dib), pathlib.Path(folder)
        for name in ("photos", "art"):
            (self.folder / name).mkdir(parents=True)
        subprocess.run([str(make_sample), "640", "480", self.folder / "sample.bmp"], check=True)

    def run(self, *words):
        subprocess.run([self.dib, "run", *map(str, words)], check=True, cwd=self.folder)

    def photos(self):
        for name, part in PHOTOS.items():
            self.run("sample.bmp", f"crop:{part}", f"photos/{name}.jpg")
        for name, part in TILES.items():
            self.run("sample.bmp", f"crop:{part}", f"art/{name}.png")

    def scan(self):
        """A page as it was printed, and as a bad scanner sees it: grey paper, a shadow, specks and a slant."""
        width, height = PAGE
        (self.folder / "dot.pgm").write_text("P2 1 1 255 255\n")
        # Light falls off to the lower right, and towards the fold on the left.
        (self.folder / "light.pgm").write_text("P2 4 3 255\n120 195 205 185  110 190 195 170  100 175 175 140\n")
        self.run("dot.pgm", f"canvas:{width}x{height},fill=#ffffff", f"text:{HEADING},60,44,size=26",
                 f"text:{escaped(LINES)},60,96,size=19", "page.png")
        self.run("light.pgm", f"resize:{width}x{height},filter=bicubic", "light.png")
        self.run("page.png", "bpp:24", "rotate:2,fill=#ffffff", "overlay:light.png,mode=multiply",
                 "levels:0,255,low=30,high=230", "noise:16,seed=3", "scan.png")

    def document(self):
        """A coin that turns: a layer for each of eight frames, each as large as what it shows."""
        frames = [coin(2 * math.pi * frame / (2 * FRAMES)) for frame in range(FRAMES)]
        (self.folder / "coin.psd").write_bytes(document(COIN, COIN, frames))


def escaped(text):
    """A text as the value of a parameter."""
    return text.replace(",", "\\,")


def coin(turn):
    """Left, top, width, height and the planes alpha, red, green, blue of a coin that is turned by an angle."""
    middle, radius, parts = COIN / 2, COIN / 2 - 1, 3
    squeeze = max(abs(math.cos(turn)), 0.12)
    left = int(middle - radius * squeeze)
    width = COIN - 2 * left
    planes = [bytearray() for _ in range(4)]
    for y in range(COIN):
        for x in range(left, left + width):
            total, covered = [0.0, 0.0, 0.0], 0
            for i in range(parts * parts):
                across = (x + (i % parts + 0.5) / parts - middle) / squeeze / radius
                down = (y + (i // parts + 0.5) / parts - middle) / radius
                color = metal(across, down, turn)
                if color:
                    covered += 1
                    total = [sum(pair) for pair in zip(total, color)]
            planes[0].append(round(255 * covered / parts**2))
            for plane, value in zip(planes[1:], total):
                plane.append(round(value / covered) if covered else 0)
    return left, 0, width, COIN, planes


def metal(across, down, turn):
    """The colour of a point of the coin, whose radius is 1; None beside it."""
    distance = math.hypot(across, down)
    if distance > 1:
        return None
    light = 0.78 + 0.22 * math.cos(2 * turn + 2.2 * across - 1.4 * down)
    if distance > 0.82:
        light *= 0.72
    elif abs(across) < 0.16 and abs(down) < 0.5:  # a bar as its sign
        light *= 0.80
    return 255 * light, 205 * light, 70 * light * light


def document(width, height, layers):
    """A PSD file of layers, from the lowest to the highest; its merged picture is white."""
    records, pixels = b"", b""
    for number, (left, top, across, down, planes) in enumerate(layers, 1):
        name = f"coin {number}".encode()
        name = bytes([len(name)]) + name
        name += bytes(-len(name) % 4)
        records += struct.pack(">4iH", top, left, top + down, left + across, len(planes))
        for channel, plane in zip((-1, 0, 1, 2), planes):
            records += struct.pack(">hI", channel, 2 + len(plane))
            pixels += b"\0\0" + bytes(plane)
        records += b"8BIMnorm" + bytes([255, 0, 0, 0]) + struct.pack(">III", 8 + len(name), 0, 0) + name
    info = struct.pack(">h", len(layers)) + records + pixels
    info += bytes(len(info) % 2)
    section = struct.pack(">I", len(info)) + info + struct.pack(">I", 0)
    head = b"8BPS" + struct.pack(">H6xHIIHH", 1, 3, height, width, 8, 3) + struct.pack(">II", 0, 0)
    return head + struct.pack(">I", len(section)) + section + b"\0\0" + b"\xff" * (3 * width * height)


def make(dib, make_sample, folder):
    maker = Maker(dib, make_sample, folder)
    maker.photos()
    maker.scan()
    maker.document()


if __name__ == "__main__":
    make(*map(lambda name: pathlib.Path(name).resolve(), sys.argv[1:]))
