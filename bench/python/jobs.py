#!/usr/bin/env python3
"""Compares ten everyday jobs in Python: DibStream, Pillow, OpenCV and libvips, each in one process with one thread.

usage: PYTHONPATH=build/release/python bench/python/jobs.py [--rounds N] [--only JOB,...] [--clock] [--write]

A round starts each program once for each job. The process does the job once, where its memory is measured, and three times for
its time. --clock compares times of the clock instead of the processor's. Then come the cost of a call on a picture of 64x64
pixels and the pictures a second of examples/cluster/map_pictures.py with one and with two workers, beside one and two separate
processes. --write puts all of it into docs/performance/python.md.
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

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs" / "performance" / "python.md"
CLUSTER = ROOT / "examples" / "cluster"
MARK = "<!-- written by bench/python/jobs.py -->\n"
THUMBNAILS = 12
MAPPED = 80  # pictures of 12 megapixels that workers reduce
CHAIN = "resize:1200x900,filter=area"
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
    path = os.pathsep.join(filter(None, [os.environ.get("PYTHONPATH"), str(CLUSTER)]))
    return subprocess.run([sys.executable, __file__, *map(str, arguments)], capture_output=True, text=True,
                          env=os.environ | {"PYTHONPATH": path})


def numbers_of(*arguments):
    """What a process of this program prints as JSON."""
    child = run(*arguments)
    if child.returncode != 0:
        raise SystemExit(f"{' '.join(map(str, arguments))}: {child.stderr}")
    return json.loads(child.stdout)


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
            runs[job, name].append(numbers_of("work", name, job, folder))
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


def compared(numbers, field):
    """Each job with its rows by program, and the name and the share of the best of the others."""
    for job, text, _, _ in JOBS:
        rows = {name: numbers[job, name] for name in PROGRAMS if (job, name) in numbers}
        if rows:
            best = min(set(rows) - {"dibstream"}, key=lambda name: rows[name][field])
            yield text, rows, best, rows["dibstream"][field] / rows[best][field]


def table(numbers, field, cell):
    """Ours beside the others as Markdown, with a sentence on the jobs in which another one needs less."""
    versions = {name: row["version"] for (_, name), row in numbers.items()}
    lines = ["| job | " + " | ".join(versions.values()) + " | ratio |", "|---|" + "---|" * (len(versions) + 1)]
    jobs, behind = 0, []
    for text, rows, best, ratio in compared(numbers, field):
        cells = [cell(rows[name]) if name in rows else "-" for name in versions]
        lines.append(f"| {text} | " + " | ".join(cells) + f" | {ratio:.2f} |")
        jobs += 1
        if ratio > 1:
            behind.append(f"{text} ({versions[best]})")
    better = f" Above it: {'; '.join(behind)}." if behind else ""
    return "\n".join(lines + ["", f"Ours is at most that of the best of the others in {jobs - len(behind)} of {jobs} jobs." + better])


def result_text(name, row):
    size = f"{row['bytes'] / 1024:.0f} KiB"
    if row["likeness"] == math.inf:
        return size if name == "dibstream" else size + ", the same"
    return f"{size}, {row['likeness']:.0f} dB"


def results_table(numbers):
    """The sizes of the files, and how like ours their pictures are."""
    versions = {name: row["version"] for (_, name), row in numbers.items()}
    lines = ["| job | " + " | ".join(versions.values()) + " |", "|---|" + "---|" * len(versions)]
    for text, rows, _, _ in compared(numbers, "bytes"):
        cells = [result_text(name, rows[name]) if name in rows else "-" for name in versions]
        lines.append(f"| {text} | " + " | ".join(cells) + " |")
    return "\n".join(lines)


def calls():
    """Microseconds of a call in the quickest batch, in Python and in C++."""
    import dibstream
    compiled = pathlib.Path(dibstream.__file__).absolute().parents[2] / "bench" / "bench_calls"
    if not compiled.exists():
        raise SystemExit(f"{compiled} is not built")
    found = {name: {"C++": time} for name, time in json.loads(subprocess.check_output([compiled], text=True)).items()}
    image = dibstream.new(64, 64)
    for name, call in ("reverse", image.reverse), ("mosaic", lambda: image.mosaic(4)):
        found[name]["Python"] = math.inf
        for _ in range(40):
            start = time.process_time()
            for _ in range(5000):
                call()
            found[name]["Python"] = min(found[name]["Python"], (time.process_time() - start) * 1e6 / 5000)
    return found


def calls_text(found):
    parts = [f"{row['Python'] - row['C++']:.1f} for `{name}` ({row['Python']:.1f} and {row['C++']:.1f})"
             for name, row in found.items()]
    return ("A call on a picture of 64x64 pixels takes so many microseconds longer than the same in C++: " + ", ".join(parts) +
            ".")


def throughput(workers, folder):
    """Pictures a second of map_pictures.py. The start of the workers does not count."""
    import map_pictures
    options = argparse.Namespace(scheduler=None, workers=workers, chain=CHAIN, retries=0, resume=False,
                                 results=folder / "results.tsv")
    jobs = [(str(folder / "large.jpg"), str(folder / "mapped" / f"{i}.jpg")) for i in range(MAPPED)]
    with map_pictures.connect(options) as client:
        map_pictures.run(client, jobs[:4 * workers], options)
        start = time.perf_counter()
        if map_pictures.run(client, jobs, options) > 0:
            raise SystemExit("pictures failed")
        return {"rate": MAPPED / (time.perf_counter() - start)}


def reduce_pictures(folder, name):
    """Pictures a second of this process alone."""
    import dibstream
    start = time.perf_counter()
    for _ in range(MAPPED // 2):
        dibstream.open(folder / "large.jpg").apply(CHAIN).save(folder / name)
    return {"rate": MAPPED / 2 / (time.perf_counter() - start)}


def separate_throughput(processes, folder):
    """The same work in processes that share nothing: what the machine gives to so many."""
    command = [sys.executable, __file__, "reduce", str(folder)]
    children = [subprocess.Popen(command + [f"{i}.jpg"], stdout=subprocess.PIPE, text=True) for i in range(processes)]
    return {"rate": sum(json.loads(child.communicate()[0])["rate"] for child in children)}


def throughput_text(rounds, folder):
    rates = {(way, count): [] for way in ("throughput", "separate") for count in (1, 2)}
    for _ in range(rounds):
        for (way, count), rate in rates.items():
            rate.append(numbers_of(way, count, folder)["rate"])
    median = {key: statistics.median(rate) for key, rate in rates.items()}
    one, two = median["throughput", 1], median["throughput", 2]
    return (f"`map_pictures.py` reduced {one:.1f} JPEGs of 12 megapixels a second with one worker and {two:.1f} with two, "
            f"{two / one:.2f} times as many, on a machine with {os.cpu_count()} processors. Two separate processes reduced "
            f"{median['separate', 2] / median['separate', 1]:.2f} times as many as one on it.")


def report(options, folder):
    make_pictures(folder)
    programs = available()
    if next(iter(programs), "") != "dibstream" or len(programs) < 2:
        raise SystemExit("dibstream and Pillow, OpenCV or libvips must be installed")
    numbers = measure(options.only.split(","), programs, options.rounds, folder)
    compare_pictures(numbers, folder)
    field = "clock" if options.clock else "cpu"
    return "\n\n".join([
        f"Rounds: {options.rounds}.",
        "## Times", table(numbers, field, lambda row: f"{row[field] * 1e3:.1f} ms"),
        "## Memory", table(numbers, "whole", lambda row: f"{row['whole']:.1f} MiB, {row['memory']:.1f} of the job"),
        "## Results", results_table(numbers),
        "## Calls", calls_text(numbers_of("calls")),
        "## Workers", throughput_text(options.rounds, folder),
    ])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--only", default=",".join(job[0] for job in JOBS))
    parser.add_argument("--clock", action="store_true")
    parser.add_argument("--write", action="store_true")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="python-jobs-") as name:
        text = report(options, pathlib.Path(name))
    print(text)
    if options.write:
        page = PAGE.read_text(encoding="utf-8")
        PAGE.write_text(page[:page.index(MARK)] + MARK + "\n" + text + "\n", encoding="utf-8")


if __name__ == "__main__":
    if sys.argv[1:2] == ["work"]:
        work(sys.argv[2], sys.argv[3], pathlib.Path(sys.argv[4]))
    elif sys.argv[1:2] == ["list"]:
        print(*PROGRAMS[sys.argv[2]]()[3])
    elif sys.argv[1:2] == ["calls"]:
        print(json.dumps(calls()))
    elif sys.argv[1:2] == ["throughput"]:
        print(json.dumps(throughput(int(sys.argv[2]), pathlib.Path(sys.argv[3]))))
    elif sys.argv[1:2] == ["separate"]:
        print(json.dumps(separate_throughput(int(sys.argv[2]), pathlib.Path(sys.argv[3]))))
    elif sys.argv[1:2] == ["reduce"]:
        print(json.dumps(reduce_pictures(pathlib.Path(sys.argv[2]), sys.argv[3])))
    else:
        main()
