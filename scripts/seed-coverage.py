#!/usr/bin/env python3
"""Measures the lines of each codec that the seeds of its fuzz targets reach, without any other test.

usage: scripts/seed-coverage.py [--lines]

Builds the fuzz targets with coverage counters in build/seeds, replays the seeds of fuzz/seeds/ through all of them, and prints
a table by codec; with --lines also the lines that no seed reaches. Needs gcovr. Exits with 1 when a codec is below 95 %.
"""
import fnmatch
import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "seeds"
LEAST = 95.0  # percent
CODECS = {
    "BMP": ["formats/Bmp*"],
    "TGA": ["formats/Tga*"],
    "PNM": ["formats/Pnm*", "formats/Ppm*"],
    "TIM": ["formats/Tim*"],
    "ILBM": ["formats/Ilbm*", "formats/Iff*", "formats/BitPlanes*", "formats/PackBits*"],
    "HDR": ["formats/Hdr*", "formats/Rgbe*"],
    "PSD": ["formats/psd/*", "formats/zlib/*"],
    "PNG": ["formats/linux/*Png*", "formats/linux/Deflater*"],
    "JPEG": ["formats/linux/Jpeg*"],
    "TIFF": ["formats/linux/Tiff*"],
    "EXR": ["plugins/exr/*"],
    "DDS": ["plugins/dds/*"],
    "WebP": ["plugins/webp/*"],
    "GIF": ["plugins/gif/*"],
}


def run(*command):
    subprocess.run(command, cwd=ROOT, check=True)


def measure():
    """Lines by file and number: how often each ran."""
    run("cmake", "--preset", "seeds")
    targets = sorted(path.stem for path in (ROOT / "fuzz").glob("*Fuzzer.cpp"))
    run("cmake", "--build", "--preset", "seeds", "--parallel", "2", "--target", *targets)
    for counts in BUILD.rglob("*.gcda"):
        counts.unlink()
    run("ctest", "--preset", "seeds", "-R", r"^fuzz\..*\.replay$")
    report = BUILD / "seeds.json"
    run("gcovr", "--root", ".", "--object-directory", BUILD, "--filter", "formats/", "--filter", "plugins/",
        "--json", report)
    files = json.loads(report.read_text(encoding="utf-8"))["files"]
    return {file["file"]: {line["line_number"]: line["count"] for line in file["lines"] if not line["gcovr/noncode"]}
            for file in files}


def main():
    files = measure()
    below = []
    print("| codec | lines | reached |\n|---|---|---|")
    for codec, patterns in CODECS.items():
        names = sorted(name for name in files if any(fnmatch.fnmatch(name, pattern) for pattern in patterns))
        counts = [count for name in names for count in files[name].values()]
        percent = 100 * sum(count > 0 for count in counts) / len(counts)
        print(f"| {codec} | {len(counts)} | {percent:.1f} % |")
        if percent < LEAST:
            below.append(codec)
        for name in names if "--lines" in sys.argv else []:
            missed = [str(number) for number, count in sorted(files[name].items()) if count == 0]
            if missed:
                print(f"    {name}: {' '.join(missed)}")
    if below:
        sys.exit(f"below {LEAST} %: {', '.join(below)}")


if __name__ == "__main__":
    main()
