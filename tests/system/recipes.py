#!/usr/bin/env python3
"""Runs the recipes of docs/recipes.md as commands, as C++ and as Python, each in a folder of its own with the same inputs, and
compares what they make, pixel by pixel.

usage: recipes.py SOURCE_DIR DIB MAKE_SAMPLE_PICTURE PROGRAMS_DIR WORK_DIR     (with the package dibstream in PYTHONPATH)
"""
import math
import os
import pathlib
import re
import shutil
import subprocess
import sys

import dibstream

NAMES = ["thumbnails", "contact_sheet", "game_palette", "sprites", "textures", "scan", "cluster"]
TASKS = 3
# What C++ and Python decode at a fraction of its size differs from what dib decodes whole.
LEAST_PSNR = {"thumbs": 34}


def check(condition, message):
    if not condition:
        print("failed:", message)
        sys.exit(1)


class Kind:
    """The recipes in one language."""

    def __init__(self, work, kind, inputs, suffix):
        self.folder, self.suffix = work / kind, suffix
        shutil.copytree(inputs, self.folder)

    def run(self, name, source, programs):
        text = (source / (name + self.suffix)).read_text(encoding="utf-8")
        if self.suffix == ".sh":
            command = text
        else:
            command = re.search(r"^(?://|#) Run: (.*)$", text, re.MULTILINE)[1]
            command = command.replace(f"python3 {name}.py", f"'{sys.executable}' '{source / name}.py'")
            command = re.sub(rf"^{name} ", f"'{programs / name}' ", command)
        for task in range(TASKS if name == "cluster" else 1):
            environment = {**os.environ, "TASK": str(task), "TASKS": str(TASKS)}
            ran = subprocess.run(["bash", "-euc", command], cwd=self.folder, env=environment, capture_output=True, text=True)
            check(ran.returncode == 0, f"{name}{self.suffix} ends with {ran.returncode}: {ran.stdout}{ran.stderr}")
            if name == "cluster" and task == 0:
                check(len(list((self.folder / "small").iterdir())) == 2, "the first of three tasks makes 2 of 8 pictures")

    def made(self, inputs):
        """The files that the recipes made, as names."""
        return {path.relative_to(self.folder).as_posix() for path in self.folder.rglob("*")
                if path.is_file() and not (inputs / path.relative_to(self.folder)).exists()}


def compare(commands, other, names):
    for name in sorted(names):
        first, second = commands.folder / name, other.folder / name
        if first.suffix == ".gpl":
            check(dibstream.open_palette(first) == dibstream.open_palette(second), f"{second} has other colours")
            continue
        found = dibstream.open(first).difference(dibstream.open(second))
        least = LEAST_PSNR.get(pathlib.PurePath(name).parent.name, math.inf)
        check(found.is_same_size and found.psnr >= least, f"{second} is another picture than that of dib: {found}")


def check_results(folder):
    """What the page says of the pictures."""
    for photo in (folder / "photos").iterdir():
        for made, side in (("thumbs", 200), ("small", 320)):
            size = dibstream.open(folder / made / photo.name).size
            check(max(size) == side, f"{made}/{photo.name} has {size} pixels")
    check(dibstream.open(folder / "sheet.png").size == (4 * (150 + 12) + 12, 2 * (150 + 20 + 12) + 12), "the sheet has another size")

    palette = dibstream.open_palette(folder / "game.gpl")
    check(len(palette) == 16, "the palette has not 16 colours")
    for tile in (folder / "tiles").iterdir():
        image = dibstream.open(tile)
        check(image.bits == 4 and image.palette == palette, f"{tile.name} has another palette")

    sheet = dibstream.open(folder / "sprites.png")
    check((sheet.size, sheet.bits) == ((8 * (46 + 2) + 2, 48 + 4), 32), f"the sprites are {sheet}")
    for texture in (folder / "textures").iterdir():
        image = dibstream.open(texture)
        check((image.format, image.size, image.bits) == ("tim", (64, 64), 4), f"{texture.name} is {image}")

    page = dibstream.open(folder / "page.png").bpp(24)
    before, after = (page.difference(dibstream.open(folder / name).bpp(24)).psnr for name in ("scan.png", "clean.png"))
    sizes = [(folder / name).stat().st_size for name in ("scan.png", "clean.png")]
    print(f"scan: {before:.1f} dB from the printed page, {sizes[0]} bytes; cleaned: {after:.1f} dB, {sizes[1]} bytes")
    check(before < 8 and after > 22, "the scan is not much nearer to the printed page")
    check(10 * sizes[1] < sizes[0], "the cleaned scan is not a tenth of the scan")


def check_page(source):
    """Every recipe is on the page, with its three forms and a small picture."""
    page = (source / "docs/recipes.md").read_text(encoding="utf-8")
    for name in NAMES:
        for suffix in (".sh", ".cpp", ".py"):
            check(f"<!-- whole of examples/recipes/{name}{suffix} -->" in page, f"{name}{suffix} is not on the page")
    check({path.stem for path in (source / "examples/recipes").iterdir()} == set(NAMES), "the recipes have other names")
    pictures = re.findall(r"\]\((recipes/[^)]+)\)", page)
    check(len(pictures) >= len(NAMES), "a recipe has no picture")
    for picture in pictures:
        check((source / "docs" / picture).stat().st_size < 60_000, f"{picture} is too large")


def main():
    source, dib, make_sample, programs, work = (pathlib.Path(word).resolve() for word in sys.argv[1:])
    check_page(source)
    shutil.rmtree(work, ignore_errors=True)
    (work / "bin").mkdir(parents=True)
    (work / "bin/dib").symlink_to(dib)
    os.environ["PATH"] = f"{work}/bin:{os.environ['PATH']}"
    inputs = work / "inputs"
    sys.path.insert(0, str(source / "scripts/recipes"))
    import inputs as maker
    maker.make(dib, make_sample, inputs)

    kinds = [Kind(work, *kind) for kind in (("commands", inputs, ".sh"), ("cpp", inputs, ".cpp"), ("python", inputs, ".py"))]
    for kind in kinds:
        for name in NAMES:
            kind.run(name, source / "examples/recipes", programs)
    commands = kinds[0]
    # Pictures on the way to a result: dib needs files for them, programs may not.
    steps = {"all.png", "paper.png"} | {name for name in commands.made(inputs) if name.startswith("layers/")}
    results = commands.made(inputs) - steps
    check(len(results) == 8 + 1 + 1 + 8 + 1 + 16 + 1 + 8, f"the commands make {sorted(results)}")
    for kind in kinds[1:]:
        check(kind.made(inputs) - steps == results, f"{kind.folder.name} makes {sorted(kind.made(inputs) ^ results)} differently")
        compare(commands, kind, results)
    check_results(commands.folder)


main()
