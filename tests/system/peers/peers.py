#!/usr/bin/python3
"""Compares pictures that operations make with those of other programs: a row of the table for each comparison.

usage: peers.py DIB MAKE_SAMPLE_PICTURE [--all]

Rows of programs that are missing are left out; without Pillow and numpy all are (exit code 77). --all prints every row with the
difference that it found.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

try:
    import numpy
    from PIL import Image, ImageFilter
    from libraries import PRESENT
except ImportError as missing:
    print(f"{missing.name} is not installed")
    sys.exit(77)

import rows_blends
import rows_colors
import rows_effects
import rows_filters
import rows_places
import rows_sheets
from table import NUMBERS, ROWS

COMMANDS = {"ImageMagick": "convert", "GraphicsMagick": "gm", "netpbm": "pamflip"}


def pictures_of(path):
    """The pictures that rows name, all made of one."""
    picture = Image.open(path).convert("RGB")
    ramp = Image.linear_gradient("L")
    made = {
        "opaque": picture,
        "alpha": picture.copy(),
        "over": picture.rotate(90, expand=True).resize((80, 60)),
        "solid": picture.rotate(180).resize((80, 60)),
        "palette": picture.quantize(40),
        "grey": picture.convert("L"),
        "soft": picture.filter(ImageFilter.BoxBlur(1)),
        "framed": Image.new("RGB", (250, 200), (18, 52, 86)),
        "sprite": Image.new("RGBA", (120, 100), (90, 20, 200, 0)),
    }
    made["alpha"].putalpha(ramp.rotate(90).resize(picture.size))
    made["over"].putalpha(ramp.resize((80, 60)))
    made["framed"].paste(picture, (21, 33))
    made["sprite"].paste(made["over"], (11, 9))
    made["far"] = picture.convert("L").rotate(180).point(lambda v: 255 if v > 128 else 0).convert("RGB").point(lambda v: 8 + v * 15 // 16)
    grains = numpy.random.default_rng(1).integers(-5, 6, (200, 250, 1))
    grainy = numpy.clip(numpy.full((200, 250, 3), (60, 70, 80)) + grains, 0, 255)
    grainy[0, 0] = (60, 70, 80)
    grainy[-1, :1] = grainy[:1, -1] = grainy[-1, -1] = (60, 70, 80)
    grainy[40:120, 50:170] += 90
    made["grainy"] = Image.fromarray(grainy.astype(numpy.uint8))
    return made


def saved(made, folder):
    for name, image in made.items():
        image.save(folder / f"{name}.png")
        image.convert("RGB").save(folder / f"{name}.ppm")
        array = numpy.asarray(image.convert("RGBA"))
        head = f"P7\nWIDTH {image.width}\nHEIGHT {image.height}\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n"
        (folder / f"{name}.pam").write_bytes(head.encode() + array.tobytes())


def shown(image):
    """Colours as far as they are seen, and alpha."""
    array = numpy.asarray(image.convert("RGBA")).astype(float)
    array[:, :, :3] *= array[:, :, 3:] / 255
    return array


class Shop:
    def __init__(self, dib, make_sample):
        self.dib = str(pathlib.Path(dib).resolve())
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="peers-"))
        self.run([str(pathlib.Path(make_sample).resolve()), "200", "150", "sample.bmp"])
        self.pictures = pictures_of(self.folder / "sample.bmp")
        saved(self.pictures, self.folder)
        self.ours = {}
        os.environ["MAGICK_THREAD_LIMIT"] = os.environ["OMP_NUM_THREADS"] = "1"

    def run(self, command):
        done = subprocess.run(command, cwd=self.folder, shell=isinstance(command, str), capture_output=True, text=True, check=False)
        return done.stdout + done.stderr

    def by_dib(self, row):
        first = row.pictures.split("+")[0]
        key = (first, row.chain)
        if key not in self.ours:
            words = row.chain.split()
            said = self.run([self.dib, *(words[1:] if words[0] == "dib" else ["run", f"{first}.png", *words, "ours.png"])])
            self.ours[key] = self.taken("ours", said)
        return self.ours[key]

    def by_other(self, row):
        if row.make is not None:
            images = [self.pictures[name] for name in row.pictures.split("+")]
            arrays = [numpy.asarray(image.convert("RGB") if image.mode == "P" else image) for image in images]
            made = numpy.asarray(row.make(*arrays)).astype(numpy.uint8)
            return Image.fromarray(made[:, :, 0] if made.ndim == 3 and made.shape[2] == 1 else made)
        said = self.run(row.command.replace("#", "\\#"))
        return self.taken("theirs", said)

    def taken(self, name, said):
        """The picture that a command wrote."""
        file = next(iter(self.folder.glob(f"{name}.*")), None)
        if file is None:
            raise RuntimeError(said)
        try:
            return Image.open(file).copy()
        except OSError as error:
            raise RuntimeError(f"{error} {said}") from error
        finally:
            file.unlink()

    def difference(self, row):
        """How much the worst channel differs, or what else is wrong."""
        try:
            ours, theirs = shown(self.by_dib(row)), shown(self.by_other(row))
        except RuntimeError as error:
            return f"an error: {error}"
        if row.is_error:
            picture = shown(self.pictures[row.pictures.split("+")[0]])
            errors = [int(((each - picture) ** 2).sum()) for each in (ours, theirs)]
            return 0 if errors[0] <= errors[1] else f"{errors[0]} against {errors[1]} in squares"
        if ours.shape != theirs.shape:
            return f"{ours.shape} against {theirs.shape}"
        height, width, _ = ours.shape
        inner = abs(ours - theirs)[row.inside:height - row.inside, row.inside:width - row.inside]
        return int(numpy.ceil(inner.max()))

    def number(self, command, pattern):
        words = command.split()
        said = self.run([self.dib, *words[1:]] if words[0] == "dib" else command)
        found = re.search(pattern, said)
        if found is None:
            raise RuntimeError(f"{command}: {said}")
        return float(found[1])

    def distance(self, row):
        """Between the numbers that both print, or what else is wrong."""
        try:
            return abs(self.number(row.command, row.pattern) - self.number(row.other, row.other_pattern))
        except RuntimeError as error:
            return f"an error: {error}"


def main(dib, make_sample, *options):
    is_there = dict(PRESENT) | {program: shutil.which(word) is not None for program, word in COMMANDS.items()}
    shop = Shop(dib, make_sample)
    checks = [(row, f"{row.pictures} {row.chain}", shop.difference) for row in ROWS]
    checks += [(row, f"{row.command} {row.pattern}", shop.distance) for row in NUMBERS]
    checks = [check for check in checks if is_there[check[0].program]]
    wrong = 0
    for row, title, measure in checks:
        difference = measure(row)
        is_wrong = isinstance(difference, str) or difference > row.tolerance
        wrong += is_wrong
        if is_wrong or "--all" in options:
            print(f"{title} differs from {row.program} by {difference}, allowed {row.tolerance}")
    shutil.rmtree(shop.folder)
    print(f"{len(checks)} comparisons, {wrong} wrong; {sorted(name for name in is_there if not is_there[name])} are not installed")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
