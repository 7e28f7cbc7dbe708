#!/usr/bin/env python3
"""Compares operations on pictures in memory: DibStream, OpenCV, libvips and Pillow, in one process with one thread.

usage: PYTHONPATH=build/release/python bench/python/operations.py [--rounds N] [--only OPERATION,...] [--without PROGRAM,...] [--write]

A round calls each program once for each operation; three rounds do where one takes a second. The table shows the medians of the
processor's time in milliseconds. Only programs that do the same work are asked. --write puts the table into
docs/performance/operations.md.
"""
import argparse
import os
import pathlib
import statistics
import time

os.environ.update(VIPS_CONCURRENCY="1", OMP_NUM_THREADS="1")
import cv2
import gi
import numpy
import PIL
from PIL import Image, ImageChops, ImageDraw, ImageEnhance, ImageFilter, ImageFont, ImageOps, features

import dibstream

gi.require_version("Vips", "8.0")
from gi.repository import Vips

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs" / "performance" / "operations.md"
MARK = "<!-- written by bench/python/operations.py -->\n"
WIDTH, HEIGHT = 1600, 1200
FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"
PROGRAMS = ("DibStream", "OpenCV", "libvips", "Pillow")


def pixels(channels, seed):
    """Soft shapes with edges and grain; alpha rises from left to right."""
    random = numpy.random.default_rng(seed)
    y, x = numpy.mgrid[0:HEIGHT, 0:WIDTH].astype(numpy.float32) / HEIGHT
    edges = 18 * numpy.sign(numpy.sin(23 * x * y + 5 * y + seed)) + random.normal(0, 4, x.shape)
    bands = [128 + 40 * (numpy.sin(9 * x + 2 * band + seed) + numpy.cos(7 * y * (1 + x) - band)) + edges for band in range(3)]
    if channels == 4:
        bands.append(255 * x / x.max())
    return numpy.ascontiguousarray(numpy.stack(bands, axis=2).clip(0, 255).astype(numpy.uint8))


def vips(name, image, *values, **settings):
    """An operation by its name: Debian has no pyvips."""
    operation = Vips.Operation.new(name)
    required = {"resize": ["in", "scale"]}.get(name, ["in"])
    for key, value in [*zip(required, (image, *values)), *settings.items()]:
        setattr(operation.props, key, value)
    operation = Vips.cache_operation_build(operation)
    made = operation.props.out
    operation.unref_outputs()
    return made


class Picture:
    """The same pixels as each program holds them, in its own order of channels."""

    def __init__(self, channels, seed):
        self.rgb = pixels(channels, seed)
        self.cv = numpy.ascontiguousarray(self.rgb[:, :, [2, 1, 0, 3][:channels]])
        self.pil = Image.fromarray(self.rgb)
        self.dib = dibstream.from_array(self.rgb)
        image = Vips.Image.new_from_memory_copy(self.rgb.tobytes(), WIDTH, HEIGHT, channels, Vips.BandFormat.UCHAR)
        self.vips = vips("copy", image, interpretation=Vips.Interpretation.SRGB)


def cases(channels):
    """(operation, its step, calls by program) for pictures of 24 or 32 bits."""
    one, two = Picture(channels, 1), Picture(channels, 2)
    opaque = Picture(3, 2)

    def ours(step):
        return lambda: one.dib.apply(step)

    def resize(width, height, cv_filter, vips_kernel, pil_filter):
        # OpenCV and libvips mix colours as they are: where pixels differ in alpha they have to be multiplied.
        def by_vips():
            image = vips("premultiply", one.vips) if channels == 4 else one.vips
            image = vips("resize", image, width / WIDTH, vscale=height / HEIGHT, kernel=vips_kernel)
            image = vips("unpremultiply", image) if channels == 4 else image
            return vips("cast", image, format=Vips.BandFormat.UCHAR).write_to_memory()
        calls = {"Pillow": lambda: one.pil.resize((width, height), pil_filter)}
        if vips_kernel is not None:
            calls["libvips"] = by_vips
        if cv_filter is not None and channels == 3:
            calls["OpenCV"] = lambda: cv2.resize(one.cv, (width, height), interpolation=cv_filter)
        return calls

    def pil_levels():
        table = [max(0, min(255, round((value - 20) * 255 / 210))) for value in range(256)]
        return one.pil.point(table * 3 + (list(range(256)) if channels == 4 else []))

    levels = numpy.array([max(0, min(255, round((value - 20) * 255 / 210))) for value in range(256)], numpy.uint8)
    font = ImageFont.truetype(FONT, 96)

    def pil_text():
        copy = one.pil.copy()
        ImageDraw.Draw(copy).text((100, 500), "Sample text", fill=(255, 255, 255), font=font)
        return copy

    def cv_unsharp():
        return cv2.addWeighted(one.cv, 2, cv2.GaussianBlur(one.cv, (13, 13), 2, borderType=cv2.BORDER_REPLICATE), -1, 0)

    def pil_paste():
        copy = one.pil.copy()
        copy.paste(two.pil)
        return copy

    def cv_gaussian(side, deviation):
        return lambda: cv2.GaussianBlur(one.cv, (side, side), deviation, borderType=cv2.BORDER_REPLICATE)

    def pil_sheet():
        sheet = Image.new("RGBA", (2 * WIDTH, 2 * HEIGHT), "white")
        for i, picture in enumerate((one, two, two, one)):
            sheet.alpha_composite(picture.pil, (i % 2 * WIDTH, i // 2 * HEIGHT))
        return sheet

    only_opaque = channels == 3
    few = opaque.dib.apply("colors:64,dither=none")
    area = resize(710, 532, cv2.INTER_AREA, None, Image.Resampling.BOX)
    rows = [
        ("resize, area, to 710x532", "resize:710x532,filter=area", area),
        ("resize, bicubic, to 2400x1800", "resize:2400x1800,filter=bicubic",
         resize(2400, 1800, cv2.INTER_CUBIC, Vips.Kernel.CUBIC, Image.Resampling.BICUBIC)),
        ("resize, bicubic, to 710x532", "resize:710x532,filter=bicubic",
         resize(710, 532, None, Vips.Kernel.CUBIC, Image.Resampling.BICUBIC)),
        ("resize, lanczos, to 2400x1800", "resize:2400x1800,filter=lanczos",
         resize(2400, 1800, None, Vips.Kernel.LANCZOS3, Image.Resampling.LANCZOS)),
        ("resize, lanczos, to 710x532", "resize:710x532,filter=lanczos",
         resize(710, 532, None, Vips.Kernel.LANCZOS3, Image.Resampling.LANCZOS)),
        ("fit to 400x400", "fit:400x400", {"Pillow": lambda: ImageOps.contain(one.pil, (400, 400), Image.Resampling.BOX)}),
        ("unsharp, deviation 2", "unsharp:2", {"OpenCV": cv_unsharp} if only_opaque else {}),
        ("gaussian, deviation 2", "gaussian:6", {"OpenCV": cv_gaussian(13, 2)} if only_opaque else {}),
        ("gaussian, deviation 20", "gaussian:60", {"OpenCV": cv_gaussian(121, 20)} if only_opaque else {}),
        ("overlay", ("overlay", two),
         {"Pillow": lambda: Image.alpha_composite(one.pil, two.pil)} if not only_opaque else {"Pillow": pil_paste}),
        ("overlay, multiply", ("overlay-multiply", opaque),
         {"Pillow": lambda: ImageChops.multiply(one.pil, opaque.pil),
          "OpenCV": lambda: cv2.multiply(one.cv, opaque.cv, scale=1 / 255)} if only_opaque else {}),
        ("colors, 256, diffused", "colors:256",
         {"Pillow": lambda: one.pil.quantize(256, Image.Quantize.MEDIANCUT, dither=Image.Dither.FLOYDSTEINBERG)}
         if only_opaque else {}),
        ("remap, 64 colours", ("remap", few), {}),
        ("montage, 4 pictures", ("montage", None), {} if only_opaque else {"Pillow": pil_sheet}),
        ("levels", "levels:20,230", {"Pillow": pil_levels, **({"OpenCV": lambda: cv2.LUT(one.cv, levels)} if only_opaque else {})}),
        ("grey, the depth stays", "grey",
         {"OpenCV": lambda: cv2.cvtColor(cv2.cvtColor(one.cv, cv2.COLOR_BGR2GRAY), cv2.COLOR_GRAY2BGR),
          "Pillow": lambda: one.pil.convert("L").convert("RGB")} if only_opaque else {}),
        ("threshold", "threshold",
         {"OpenCV": lambda: cv2.cvtColor(cv2.threshold(cv2.cvtColor(one.cv, cv2.COLOR_BGR2GRAY), 127, 255, cv2.THRESH_BINARY)[1],
                                         cv2.COLOR_GRAY2BGR)} if only_opaque else {}),
        ("posterize, 4 values", "posterize:4",
         {"Pillow": lambda: ImageOps.posterize(one.pil, 2)} if only_opaque else {}),
        ("border of 20", "border:20,#ff8000",
         {"OpenCV": lambda: cv2.copyMakeBorder(one.cv, 20, 20, 20, 20, cv2.BORDER_CONSTANT, value=(0, 128, 255, 255)),
          "Pillow": lambda: ImageOps.expand(one.pil, 20, (255, 128, 0, 255)[:channels])}),
        ("join in a row", ("join", two), {"OpenCV": lambda: cv2.hconcat([one.cv, two.cv])}),
        ("text, 96 pixels", f"text:Sample\\ text,100,500,size=96,color=#ffffff,font={FONT}", {"Pillow": pil_text}),
    ]
    if not only_opaque:
        white = Image.new("RGBA", (WIDTH, HEIGHT), "white")
        rows.append(("flatten on white", "flatten",
                     {"Pillow": lambda: Image.alpha_composite(white, one.pil).convert("RGB"),
                      "libvips": lambda: vips("flatten", one.vips, background=Vips.ArrayDouble.new([255, 255, 255])).write_to_memory()}))
    bordered = dibstream.from_array(one.rgb).apply("border:200,#ffffff")
    framed = Image.fromarray(numpy.asarray(bordered))
    for name, step, calls in rows:
        if isinstance(step, tuple):
            kind, second = step
            mine = {"overlay": lambda second=second: one.dib.overlay(second.dib),
                    "overlay-multiply": lambda second=second: one.dib.overlay(second.dib, mode="multiply"),
                    "join": lambda second=second: one.dib.join(second.dib),
                    "remap": lambda second=second: one.dib.remap(second, dither="none"),
                    "montage": lambda: dibstream.montage([one.dib, two.dib, two.dib, one.dib], columns=2)}[kind]
        else:
            mine = ours(step)
        yield name, {"DibStream": mine, **calls}
    if only_opaque:
        paper = Image.new("RGB", framed.size, "white")
        yield "trim of 200 around", {"DibStream": lambda: bordered.apply("trim"),
                                     "Pillow": lambda: framed.crop(ImageChops.difference(framed, paper).getbbox())}


def measured(calls, rounds):
    times = {program: [] for program in calls}
    start = time.process_time()
    for call in calls.values():
        call()
    is_slow = time.process_time() - start > 1
    for _ in range(min(rounds, 3) if is_slow else rounds):
        for program, call in calls.items():
            start = time.process_time()
            call()
            times[program].append(1000 * (time.process_time() - start))
    return {program: statistics.median(each) for program, each in times.items()}


def versions():
    return (f"DibStream {dibstream.__version__}, OpenCV {cv2.__version__}, libvips {Vips.version_string()}, "
            f"Pillow {PIL.__version__} with FreeType {features.version('freetype2')}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rounds", type=int, default=15)
    parser.add_argument("--only", default="")
    parser.add_argument("--without", default="")
    parser.add_argument("--write", action="store_true")
    options = parser.parse_args()
    cv2.setNumThreads(1)
    Vips.init("operations")
    Vips.cache_set_max(0)  # else work is done once
    lines = ["| operation | bits | " + " | ".join(PROGRAMS) + " | ours to the best |", "|---|---:|" + "---:|" * (len(PROGRAMS) + 1)]
    for channels in (3, 4):
        for name, calls in cases(channels):
            if options.only and not any(name.startswith(only) for only in options.only.split(",")):
                continue
            times = measured({program: call for program, call in calls.items() if program not in options.without.split(",")},
                             options.rounds)
            cells = [f"{times[program]:.1f}" if program in times else "" for program in PROGRAMS]
            others = [each for program, each in times.items() if program != "DibStream"]
            ratio = f"{times['DibStream'] / min(others):.2f}" if others else ""
            lines.append(f"| {name} | {8 * channels} | " + " | ".join(cells) + f" | {ratio} |")
            print(lines[-1], flush=True)
    if options.write:
        before, _, after = PAGE.read_text(encoding="utf-8").split(MARK)
        PAGE.write_text(before + MARK + "\n" + versions() + ".\n\n" + "\n".join(lines) + "\n\n" + MARK + after, encoding="utf-8")


if __name__ == "__main__":
    main()
