#!/usr/bin/python3
"""Compares the palettes of `dib run IN colors:N OUT` with those of ImageMagick's `convert -colors N`.

usage: colors.py DIB PICTURE...

Per picture, number of colours and dither: the PSNR of both in dB, and the processor time of both in milliseconds less
that of reading and writing the picture alone (the best of five).
"""
import math
import os
import pathlib
import subprocess
import sys
import tempfile

from PIL import Image, ImageChops, ImageStat

DITHERS = {"none": ["+dither"], "floyd-steinberg": ["-dither", "FloydSteinberg"]}


def psnr(a, b):
    squares = ImageStat.Stat(ImageChops.difference(a, b)).sum2
    error = sum(squares) / (3 * a.width * a.height)
    return 10 * math.log10(255 * 255 / error) if error else math.inf


def seconds(command):
    best = math.inf
    for _ in range(5):
        before = os.times()
        subprocess.run(command, check=True, env={**os.environ, "MAGICK_THREAD_LIMIT": "1", "OMP_NUM_THREADS": "1"})
        after = os.times()
        best = min(best, after.children_user + after.children_system - before.children_user - before.children_system)
    return best


def main(dib, *paths):
    folder = pathlib.Path(tempfile.mkdtemp())
    source, ours, theirs = (str(folder / name) for name in ("in.bmp", "ours.bmp", "theirs.bmp"))
    print(f"{'picture':24} {'colours':>7} {'dither':16} {'dib dB':>7} {'IM dB':>7} {'dib ms':>7} {'IM ms':>7}")
    for path in paths:
        picture = Image.open(path).convert("RGB")
        picture.save(source)
        idle = seconds([dib, "run", source, ours]), seconds(["convert", source, theirs])
        for count in (16, 256):
            for dither, arguments in DITHERS.items():
                commands = ([dib, "run", source, f"colors:{count},dither={dither}", ours],
                            ["convert", source, *arguments, "-colors", str(count), theirs])
                times = [1000 * (seconds(command) - least) for command, least in zip(commands, idle)]
                quality = [psnr(picture, Image.open(out).convert("RGB")) for out in (ours, theirs)]
                print(f"{pathlib.Path(path).name:24} {count:7} {dither:16} {quality[0]:7.2f} {quality[1]:7.2f} "
                      f"{times[0]:7.0f} {times[1]:7.0f}", flush=True)


if __name__ == "__main__":
    main(*sys.argv[1:])
