#!/usr/bin/python3
"""Measures Pillow, whose work is done in C: a call from Python costs microseconds.

usage: pillow.py --benchmark_out=FILE [--benchmark_filter=REGEX] [--benchmark_repetitions=N]

The options, the names of the cases and FILE are those of Google Benchmark; a filter that starts with - leaves out what
it matches. Options that it does not know are passed over.
"""
import argparse
import json
import os
import pathlib
import re
import time

import PIL
from PIL import Image, ImageChops, ImageFilter

FOLDER = pathlib.Path(os.environ.get("PEER_TMP", "/dev/shm/peerbench"))
WIDTH, HEIGHT = 1920, 1080
ENOUGH = 0.01  # seconds of a repetition
SLOW = 0.1     # seconds of a call that three repetitions are enough for

# Without raw files of 8 bits: Pillow maps those into memory and reads nothing.
LOADED = {"load_bmp24": (24, "photo24.bmp"), "load_bmp_rle8": (8, "pal8_rle.bmp"), "load_tga24_raw": (24, "photo24.tga"),
          "load_tga24_rle": (24, "mixed24_rle.tga"), "load_ppm_p6": (24, "photo.ppm"), "load_psd_rle": (24, "mixed.psd"),
          "load_png24": (24, "photo24.png"), "load_jpeg": (24, "photo.jpg"), "load_tiff24": (24, "photo24.tif")}
SAVED = {"save_bmp24": (".bmp", {}), "save_tga24_raw": (".tga", {}), "save_tga24_rle": (".tga", {"compression": "tga_rle"}),
         "save_ppm_p6": (".ppm", {}), "save_jpeg": (".jpg", {"quality": 90})}


def opened(name):
    picture = Image.open(FOLDER / name)
    picture.load()
    return picture


def kernel(numbers, scale, offset=0):
    return ImageFilter.Kernel((3, 3), numbers, scale, offset)


def filters(add, picture, bits):
    def each(name, note, chosen):
        add(name, bits, note, lambda: picture.filter(chosen))

    for radius in (2, 10, 50):
        each(f"box_blur_r{radius}", "`BoxBlur`", ImageFilter.BoxBlur(radius))
    for size in (5, 15, 50):
        each(f"gauss_R{size}", "`GaussianBlur`, three boxes", ImageFilter.GaussianBlur(size / 3))
    each("blur_light", "`Kernel` of 3 x 3", kernel((0, 1, 0, 1, 0, 1, 0, 1, 0), 4))
    each("sharpen_light", "`Kernel` of 3 x 3", kernel((0, -1, 0, -1, 5, -1, 0, -1, 0), 1))
    each("emboss", "`Kernel` of 3 x 3", kernel((-1, -1, 0, -1, 0, 1, 0, 1, 1), 3, 128))
    each("max_r1", "`MaxFilter`, each channel by itself", ImageFilter.MaxFilter(3))
    each("min_r1", "`MinFilter`, each channel by itself", ImageFilter.MinFilter(3))
    each("median_r1", "`MedianFilter`, each channel by itself", ImageFilter.MedianFilter(3))
    add("rotate30", bits, "`rotate`, corners stay blank", lambda: picture.rotate(30, Image.BILINEAR))


def sizes(add, picture, bits):
    add("resize_bilinear_up", bits, "`resize`, `BILINEAR`", lambda: picture.resize((2880, 1620), Image.BILINEAR))
    add("resize_bilinear_down", bits, "`resize`, `BILINEAR`, averages more pixels",
        lambda: picture.resize((1440, 810), Image.BILINEAR))
    add("resize_area_037", bits, "`resize`, `BOX`", lambda: picture.resize((710, 400), Image.BOX))
    add("resize_half", bits, "`reduce`", lambda: picture.reduce(2))


def pixels(add, picture, other):
    """Pictures of 24 bits, which Pillow keeps in 32."""
    table = bytes(min(255, int((i / 256) ** (1 / 2.2) * 256 + 0.5)) for i in range(255)) + b"\xff"
    add("gamma_lut", 24, "`point`, on 32 bits", lambda: picture.point(table * 3))
    add("invert", 24, "`ImageChops.invert`, on 32 bits", lambda: ImageChops.invert(picture))
    add("compose_half", 24, "`Image.blend`, on 32 bits", lambda: Image.blend(picture, other, 0.5))
    add("quantize_256", 24, "`quantize`, `MEDIANCUT`", lambda: picture.quantize(256, Image.MEDIANCUT, dither=Image.NONE))
    add("quantize_256_octree", 24, "`quantize`, `FASTOCTREE`",
        lambda: picture.quantize(256, Image.FASTOCTREE, dither=Image.NONE))
    add("dither_1bit", 24, "`convert`, other shares of the error", lambda: picture.convert("1"))
    add("cvt_24_to_8grey", 24, "`convert`, other weights", lambda: picture.convert("L"))
    add("flip_v", 24, "`transpose`, on 32 bits", lambda: picture.transpose(Image.FLIP_TOP_BOTTOM))
    add("flip_h", 24, "`transpose`, on 32 bits", lambda: picture.transpose(Image.FLIP_LEFT_RIGHT))
    add("crop_half", 24, "`crop`, on 32 bits", lambda: picture.crop((481, 271, 481 + 960, 271 + 540)))
    add("clone_deep", 24, "`copy`, on 32 bits", lambda: picture.copy())
    add("mosaic10", 24, "`reduce`, `resize`", lambda: picture.reduce(10).resize((WIDTH, HEIGHT), Image.NEAREST))


def files(add, picture):
    for name, (bits, path) in LOADED.items():
        add(name, bits, "`Image.open`, `load`", lambda path=path: opened(path))
    for name, (extension, settings) in SAVED.items():
        path = FOLDER / f"out_pillow{extension}"
        add(name, 24, "`save`", lambda path=path, settings=settings: picture.save(path, **settings))


def cases():
    """Name, note and function of each."""
    grey, color, other = opened("photo.pgm"), opened("photo.ppm"), opened("photo2.ppm")
    found = []

    def add(name, bits, note, function):
        found.append((f"{name}/{WIDTH}x{HEIGHT}/{bits}/pillow", note, function))

    for picture, bits in ((grey, 8), (color, 24)):
        filters(add, picture, bits)
    for picture, bits in ((color, 24), (color.convert("RGBA"), 32)):
        sizes(add, picture, bits)
    pixels(add, color, other)
    files(add, color)
    return found


def measured(name, note, function, repetitions):
    def timed(calls):
        clock, processor = time.perf_counter(), time.process_time()
        for _ in range(calls):
            function()
        return (time.perf_counter() - clock) / calls, (time.process_time() - processor) / calls

    _, first = timed(1)
    calls = max(1, int(ENOUGH / max(first, 1e-6)))
    for repetition in range(repetitions if first < SLOW else min(3, repetitions)):
        clock, processor = timed(calls)
        yield {"name": name, "run_type": "iteration", "repetition_index": repetition, "iterations": calls,
               "real_time": clock * 1e6, "cpu_time": processor * 1e6, "time_unit": "us", "label": note}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--benchmark_out", required=True)
    parser.add_argument("--benchmark_filter", default=".")
    parser.add_argument("--benchmark_repetitions", type=int, default=3)
    options, _ = parser.parse_known_args()
    without = options.benchmark_filter.startswith("-")
    pattern = re.compile(options.benchmark_filter.removeprefix("-"))
    results = [result for name, note, function in cases() if (pattern.search(name) is None) == without
               for result in measured(name, note, function, options.benchmark_repetitions)]
    context = {"program pillow": f"Pillow {PIL.__version__}"}
    pathlib.Path(options.benchmark_out).write_text(json.dumps({"context": context, "benchmarks": results}), encoding="utf-8")


main()
