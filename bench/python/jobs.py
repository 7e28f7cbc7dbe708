#!/usr/bin/env python3
"""Compares ten everyday jobs in Python: DibStream, Pillow, OpenCV and libvips, each in one process with one thread.

usage: PYTHONPATH=build/release/python bench/python/jobs.py [--rounds N] [--only JOB,...] [--clock] [--write]
       PYTHONPATH=build/release/python bench/python/jobs.py overhead build/release/bench/bench_calls

A round starts each program once for each job. The process does the job once, where its memory is measured, and three times for
its time. --clock compares times of the clock instead of the processor's; --write puts the table into
docs/performance/python.md. `overhead` prints what a call on a picture of 64x64 pixels costs more than the same in C++.
"""
import argparse
import json
import math
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

from programs import PROGRAMS

PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "performance" / "python.md"
MARK = "<!-- written by bench/python/jobs.py -->\n"
THUMBNAILS = 12
REPEATS = 3
# The key in programs.py, what the job is, the files that it reads, the ending of what it writes.
JOBS = [
    ("resize", "JPEG of 12 megapixels to 1200x900, JPEG", ["large.jpg"], ".jpg"),
    ("thumbnail", f"thumbnails of {THUMBNAILS} JPEGs, JPEG", ["photo.jpg"], ".jpg"),
    ("convert", "JPEG to PNG", ["photo.jpg"], ".png"),
    ("crop", "crop of a PNG, PNG", ["photo.png"], ".png"),
    ("blur", "Gaussian blur of a JPEG, JPEG", ["photo.jpg"], ".jpg"),
    ("rotate", "JPEG turned by 30 degrees, JPEG", ["photo.jpg"], ".jpg"),
    ("palette", "PNG to 256 colours of its own, PNG", ["photo.png"], ".png"),
    ("grey", "JPEG to grey, JPEG", ["photo.jpg"], ".jpg"),
    ("contrast", "more contrast of a JPEG, JPEG", ["photo.jpg"], ".jpg"),
    ("blend", "blend of a JPEG and a PNG, JPEG", ["photo.jpg", "photo.png"], ".jpg"),
]


def make_pictures(folder):
    """Pictures like photos: soft shapes with edges and grain. Pillow writes them."""
    import numpy
    from PIL import Image
    random = numpy.random.default_rng(5)
    for name, width, height, turn in (("large.jpg", 4000, 3000, 0), ("photo.jpg", 1920, 1080, 1), ("photo.png", 1920, 1080, 2)):
        y, x = numpy.mgrid[0:height, 0:width].astype(numpy.float32) / height
        edges = 18 * numpy.sign(numpy.sin(23 * x * y + 5 * y + turn)) + random.normal(0, 4, x.shape)
        bands = [numpy.sin(9 * x + 2 * band + turn) + numpy.cos(7 * y * (1 + x) - band) for band in range(3)]
        pixels = numpy.stack([128 + 40 * band + edges for band in bands], axis=2)
        Image.fromarray(pixels.clip(0, 255).astype(numpy.uint8)).save(folder / name, quality=90)


def memory(key):
    """VmRSS or VmHWM of this process in MiB. The peak of getrusage would include the process that started this one."""
    status = pathlib.Path("/proc/self/status").read_text(encoding="ascii")
    return int(status.split(key + ":")[1].split()[0]) / 1024


def results(program, job, folder):
    """The files that a job writes."""
    ending = next(ending for name, _, _, ending in JOBS if name == job)
    return [folder / f"{job}-{program}-{number}{ending}" for number in range(THUMBNAILS if job == "thumbnail" else 1)]


def work(program, job, folder):
    """One process of a round: prints its numbers as JSON."""
    os.sched_setaffinity(0, [min(os.sched_getaffinity(0))])
    version, opened, save, operations = PROGRAMS[program]()
    sources = next(sources for name, _, sources, _ in JOBS if name == job)
    targets = results(program, job, folder)

    def once():
        for target in targets:
            save(operations[job](*[opened(folder / source, job) for source in sources]), target, job)

    before = memory("VmRSS")
    pathlib.Path("/proc/self/clear_refs").write_text("5", encoding="ascii")  # forgets the peak of importing
    once()
    peak = memory("VmHWM")
    times = {"cpu": [], "clock": []}
    for _ in range(REPEATS):
        for name, timer in ("cpu", time.process_time), ("clock", time.perf_counter):
            times[name].append(-timer())
        once()
        for name, timer in ("cpu", time.process_time), ("clock", time.perf_counter):
            times[name][-1] += timer()
    print(json.dumps({"version": version, "memory": peak - before, "whole": peak, "bytes": targets[0].stat().st_size,
                      **{name: statistics.median(values) for name, values in times.items()}}))


def run(*arguments):
    return subprocess.run([sys.executable, __file__, *map(str, arguments)], capture_output=True, text=True)


def available():
    """The programs that this machine has, with their jobs."""
    found = {}
    for name in PROGRAMS:
        child = run("list", name)
        if child.returncode == 0:
            found[name] = child.stdout.split()
        else:
            print(f"{name} is missing: {child.stderr.strip().splitlines()[-1:]}", file=sys.stderr)
    return found


def measure(jobs, programs, rounds, folder):
    """Medians over the rounds by job and program. The programs take turns in going first."""
    runs = {(job, name): [] for job in jobs for name in programs if job in programs[name]}
    for turn in range(rounds):
        for job, name in sorted(runs, key=lambda key: (jobs.index(key[0]), (list(programs).index(key[1]) + turn) % len(programs))):
            child = run("work", name, job, folder)
            if child.returncode != 0:
                raise SystemExit(f"{name} {job}: {child.stderr}")
            runs[job, name].append(json.loads(child.stdout))
        print(f"round {turn + 1} of {rounds}", file=sys.stderr)
    return {key: {field: first if field == "version" else statistics.median(run[field] for run in rows)
                  for field, first in rows[0].items()} for key, rows in runs.items()}


def likeness(first, second):
    """Peak signal-to-noise ratio of the middle of two pictures in decibels: turned ones differ in the corners."""
    import numpy
    from PIL import Image
    one, other = (numpy.asarray(Image.open(path).convert("RGB"), dtype=numpy.float64) for path in (first, second))
    if one.shape != other.shape:
        raise SystemExit(f"{first.name} and {second.name} differ in size: {one.shape} and {other.shape}")
    height, width = one.shape[:2]
    middle = slice(height // 4, height - height // 4), slice(width // 4, width - width // 4)
    error = numpy.mean((one[middle] - other[middle]) ** 2)
    return 10 * math.log10(255 ** 2 / error) if error > 0 else math.inf


def compare_pictures(numbers, folder):
    """How like ours the results are. Palettes differ by design: those are compared with the picture that they show."""
    for (job, name), row in numbers.items():
        expected = folder / "photo.png" if job == "palette" else results("dibstream", job, folder)[0]
        row["likeness"] = likeness(expected, results(name, job, folder)[0])
        if row["likeness"] < 27:
            print(f"{job}: the result of {name} is another picture, {row['likeness']:.1f} dB", file=sys.stderr)


def table(numbers, field):
    """The table as Markdown, with a line on how many jobs reach their target."""
    versions = {name: row["version"] for (_, name), row in numbers.items()}
    lines = ["| job | " + " | ".join(versions.values()) + " | ratio of times | of memory |", "|---|" + "---|" * (len(versions) + 2)]
    ratios = []
    for job, text, _, _ in JOBS:
        rows = {name: numbers[job, name] for name in versions if (job, name) in numbers}
        if not rows:
            continue
        ours, *others = rows.values()
        ratios.append([ours[key] / min(row[key] for row in others) for key in (field, "memory")])
        cells = ["-" if name not in rows else "{:.1f} ms, {:.1f} ({:.0f}) MiB, {:.0f} KiB, {:.0f} dB".format(
            rows[name][field] * 1e3, rows[name]["memory"], rows[name]["whole"], rows[name]["bytes"] / 1024,
            rows[name]["likeness"]) for name in versions]
        lines.append(f"| {text} | " + " | ".join(cells) + " | {:.2f} | {:.2f} |".format(*ratios[-1]))
    fast, small = (sum(ratio <= 1 for ratio in column) for column in zip(*ratios))
    lines += ["", f"As fast as the fastest of the others in {fast} of {len(ratios)} jobs; no more memory than the one with the "
                  f"least in {small}."]
    return "\n".join(lines).replace("inf dB", "the same").replace(", the same |", " |")


def overhead(program):
    """Microseconds of a call in the quickest batch, in Python and in C++."""
    import dibstream
    image = dibstream.new(64, 64)
    compiled = json.loads(subprocess.run([program], capture_output=True, text=True, check=True).stdout)
    for name, call in ("reverse", image.reverse), ("mosaic", lambda: image.mosaic(4)):
        best = math.inf
        for _ in range(40):
            start = time.process_time()
            for _ in range(5000):
                call()
            best = min(best, (time.process_time() - start) * 1e6 / 5000)
        print(f"{name}: {best:.2f} us, in C++ {compiled[name]:.2f} us, {best - compiled[name]:.2f} us more")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--only", default=",".join(job[0] for job in JOBS))
    parser.add_argument("--clock", action="store_true")
    parser.add_argument("--write", action="store_true")
    options = parser.parse_args()
    programs = available()
    if next(iter(programs), "") != "dibstream" or len(programs) < 2:
        raise SystemExit("dibstream and Pillow, OpenCV or libvips must be installed")
    with tempfile.TemporaryDirectory(prefix="python-jobs-") as name:
        folder = pathlib.Path(name)
        make_pictures(folder)
        numbers = measure(options.only.split(","), programs, options.rounds, folder)
        compare_pictures(numbers, folder)
    text = table(numbers, "clock" if options.clock else "cpu")
    print(text)
    if options.write:
        page = PAGE.read_text(encoding="utf-8")
        PAGE.write_text(page[:page.index(MARK)] + MARK + "\n" + text + "\n", encoding="utf-8")


if __name__ == "__main__":
    if sys.argv[1:2] == ["work"]:
        work(sys.argv[2], sys.argv[3], pathlib.Path(sys.argv[4]))
    elif sys.argv[1:2] == ["list"]:
        print(*PROGRAMS[sys.argv[2]]()[3])
    elif sys.argv[1:2] == ["overhead"]:
        overhead(sys.argv[2])
    else:
        main()
