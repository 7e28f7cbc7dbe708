#!/usr/bin/python3
"""Plots what benches measured. Needs python3-matplotlib; hence Debian's own Python above.

usage: scripts/bench-plots.py RESULTS.json... FOLDER

RESULTS.json is what Google Benchmark writes, with names of the form operation/WIDTHxHEIGHT/bits/program. The program
"ours" is this library, "limit" and "limit.NAME" are bounds such as memcpy and fread; variants like "ours.cb" are left
out. Times are medians of processor time over all repetitions in all files. The context of a file may tell "program NAME",
a program's name and version, and "kernels": the level that its program was limited to, which follows the program's name
as a variant. A case's label names the function that was called and says where its work is not the same.

Writes into FOLDER, as far as the results have something to show:
  overview.svg     common operations beside the four fastest programs
  throughput.svg   each operation beside the peer programs, of the most measured kind of picture
  size.svg         time per pixel by the size of the picture
  radius.svg       time by radius, a panel for each filter
  memory.svg       the largest amount of memory that a call holds besides the picture
  medians.json     all medians in the form of RESULTS.json
  table.md         the same beside the fastest other program
"""
import collections
import json
import pathlib
import re
import statistics
import sys

import matplotlib
matplotlib.use("svg")
from matplotlib import pyplot, ticker

OTHER_WORK = pathlib.Path(__file__).resolve().parent.parent / "bench" / "peers" / "other-work.txt"

NAME = re.compile(r"([\w.+-]+)/(\d+)x(\d+)/(\d+)/([\w.+-]+)(/.*)?")
MILLISECONDS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}
OWN, OTHER, INK = "#c2560f", "#8b93a3", "#22252b"
# The same results give the same files.
matplotlib.rcParams.update({"svg.hashsalt": "dibstream", "svg.fonttype": "none", "font.size": 9,
                            "axes.spines.top": False, "axes.spines.right": False})

Case = collections.namedtuple("Case", "operation width height bits")
# Medians as {case: {program: ms}}, peaks of our memory as {case: bytes}, labels as {(case, program): text}, names and
# versions as {program: text}.
Results = collections.namedtuple("Results", "medians peaks labels programs")


def pixels(case):
    return case.width * case.height


def size_in_bytes(case):
    return pixels(case) * case.bits / 8


def megabytes_per_second(case, time):
    return size_in_bytes(case) / time / 1e3


def picture_of(case):
    return f"{case.width}x{case.height}, {case.bits} bits"


def note(entry, case, program, results, times):
    """Adds one repetition of a case."""
    # Zero is a time too short for the clock.
    if entry["cpu_time"] > 0:
        times[case][program].append(entry["cpu_time"] * MILLISECONDS[entry.get("time_unit", "ns")])
    if entry.get("label"):
        results.labels[case, program] = entry["label"]
    if program == "ours" and "max_bytes_used" in entry:
        results.peaks[case] = max(results.peaks.get(case, 0), entry["max_bytes_used"])


def other_work():
    """Pairs of operation and program whose times say nothing."""
    lines = [line.split() for line in OTHER_WORK.read_text(encoding="utf-8").splitlines() if not line.startswith("#")]
    return {(operation, program) for operation, *programs in lines for program in programs}


def read(files):
    left_out = other_work()
    times = collections.defaultdict(lambda: collections.defaultdict(list))
    results = Results({}, {}, {}, {})
    for file in files:
        content = json.loads(pathlib.Path(file).read_text(encoding="utf-8"))
        context = content.get("context", {})
        level = f".{context['kernels']}" if "kernels" in context else ""
        results.programs.update((key.removeprefix("program "), name) for key, name in context.items()
                                if key.startswith("program "))
        for entry in content["benchmarks"]:
            name = NAME.fullmatch(entry["name"])
            counts = entry.get("run_type", "iteration") == "iteration" and not entry.get("error_occurred")
            if name and counts and (name[1], name[5]) not in left_out:
                case = Case(name[1], int(name[2]), int(name[3]), int(name[4]))
                note(entry, case, name[5] + level, results, times)
    for case, programs in sorted(times.items()):
        results.medians[case] = {program: statistics.median(values) for program, values in sorted(programs.items())}
    return results


def others(programs):
    return {name: time for name, time in programs.items() if name.split(".")[0] not in ("ours", "limit", "straight")}


def bound_of(medians, case):
    """The bound measured for the case itself, or memcpy of the same picture where no file is involved."""
    for name, time in medians[case].items():
        if name.split(".")[0] == "limit":
            return time
    if case.operation.startswith(("load_", "save_")):
        return None
    return medians.get(case._replace(operation="memcpy"), {}).get("limit")


def log_scales(axes, *names):
    """Logarithmic axes whose ticks are plain numbers."""
    for name in names:
        axes.set(**{f"{name}scale": "log"})
        axis = getattr(axes, f"{name}axis")
        axis.set_major_locator(ticker.LogLocator(subs=(1, 2, 5), numticks=12))
        axis.set_major_formatter("{x:g}")
        axis.set_minor_formatter(ticker.NullFormatter())


def write(figure, path):
    figure.savefig(path, bbox_inches="tight", metadata={"Date": None})
    pyplot.close(figure)
    print(path)


# What newcomers ask for first, of pictures of 24 bits.
OVERVIEW = {"load_bmp24": "open BMP", "load_png24": "open PNG", "load_psd_rle": "open PSD", "resize_bilinear_down": "make smaller",
            "resize_bilinear_up": "make larger", "rotate30": "rotate by 30 degrees", "box_blur_r10": "box blur, radius 10",
            "gauss_R15": "Gaussian blur, half-size 15", "sharpen_light": "sharpen", "median_r3": "median, radius 3",
            "gamma_lut": "gamma", "cvt_24_to_8grey": "to grey"}


def plot_overview(results, path):
    """Bars of time: a panel for each operation, the fastest programs first."""
    cases = [Case(operation, 1920, 1080, 24) for operation in OVERVIEW]
    cases = [case for case in cases if "ours" in results.medians.get(case, {}) and others(results.medians[case])]
    if not cases:
        return
    rows = (len(cases) + 2) // 3
    figure, panels = pyplot.subplots(rows, 3, squeeze=False, layout="constrained", figsize=(10, 1.5 * rows))
    for axes in panels.flat[len(cases):]:
        axes.remove()
    for axes, case in zip(panels.flat, cases):
        rivals = sorted(others(results.medians[case]).items(), key=lambda rival: rival[1])[:4]
        bars = sorted([("ours", results.medians[case]["ours"]), *rivals], key=lambda bar: bar[1], reverse=True)
        names = ["DibStream" if name == "ours" else results.programs.get(name, name) for name, _ in bars]
        drawn = axes.barh(names, [time for _, time in bars], color=[OWN if name == "ours" else OTHER for name, _ in bars])
        axes.bar_label(drawn, [f"{time:,.0f} ms" if time >= 100 else f"{time:.3g} ms" for _, time in bars], padding=3, fontsize=8)
        axes.set_title(OVERVIEW[case.operation], loc="left", fontsize=10)
        axes.tick_params(axis="y", labelsize=8, length=0)
        axes.set_xticks([])
        axes.margins(x=0.25)
        axes.spines["bottom"].set_visible(False)
    figure.suptitle("Time on one processor, shorter is better: pictures of 1920 x 1080 pixels, 24 bits", x=0.01, ha="left")
    write(figure, path)


def plot_throughput(medians, path):
    groups = collections.defaultdict(list)
    for case, programs in medians.items():
        if "ours" in programs and not case.operation.startswith(("call_", "load_", "save_")):
            groups[case[1:]].append(case)
    if not groups:
        return
    cases = max(groups.values(), key=lambda group: (sum(len(others(medians[c])) > 0 for c in group), len(group)))
    cases.sort(key=lambda case: medians[case]["ours"], reverse=True)
    figure, axes = pyplot.subplots(figsize=(10, 1 + 0.22 * len(cases)))
    labels = {}
    for y, case in enumerate(cases):
        def mark(times, label, **style):
            speeds = [megabytes_per_second(case, time) for time in times]
            labels[label], = axes.plot(speeds, [y] * len(speeds), linestyle="", **style)
        rivals = sorted(others(medians[case]).items(), key=lambda rival: rival[1])
        own = medians[case]["ours"]
        bound = bound_of(medians, case)
        if bound:
            mark([bound], "copying", marker="|", color=INK, markersize=11, markeredgewidth=2)
        mark([time for _, time in rivals[1:]], "the others", marker="o", color=OTHER, markersize=4, fillstyle="none")
        mark([time for _, time in rivals[:1]], "fastest other program", marker="o", color=OTHER, markersize=6)
        mark([own], "ours", marker="o", color=OWN, markersize=7)
        if rivals:
            axes.annotate(f"{rivals[0][1] / own:.2f} x {rivals[0][0]}", (1.01, y), va="center",
                          xycoords=("axes fraction", "data"), color=INK if own <= rivals[0][1] else "#b3261e")
    log_scales(axes, "x")
    axes.set(xlabel="MB/s", ylim=(-0.7, len(cases) - 0.3))
    axes.set_yticks(range(len(cases)), [case.operation for case in cases])
    axes.grid(axis="x", color="#dedad2")
    axes.set_axisbelow(True)
    axes.set_title(f"Throughput, pictures of {picture_of(cases[0])}", loc="left", pad=24)
    axes.legend(labels.values(), labels.keys(), loc="lower left", bbox_to_anchor=(0, 1), ncol=4, frameon=False)
    write(figure, path)


def plot_size(medians, path):
    lines = collections.defaultdict(list)
    for case, programs in medians.items():
        if "ours" in programs:
            lines[case.operation, case.bits].append((pixels(case) / 1e6, programs["ours"] * 1e6 / pixels(case)))
    lines = {key: sorted(points) for key, points in lines.items() if len(points) >= 3}
    if not lines:
        return
    figure, axes = pyplot.subplots(figsize=(10, 6))
    for (operation, bits), points in lines.items():
        axes.plot(*zip(*points), marker=".", label=f"{operation}, {bits}")
    log_scales(axes, "x", "y")
    axes.set(xlabel="million pixels", ylabel="ns per pixel", title="Time per pixel by the size of the picture")
    axes.legend(loc="center left", bbox_to_anchor=(1, 0.5), frameon=False)
    write(figure, path)


def plot_radius(medians, path):
    families = collections.defaultdict(lambda: collections.defaultdict(list))
    for case, programs in medians.items():
        family = re.fullmatch(r"(.+)_[rR](\d+)", case.operation)
        for program, time in programs.items():
            if family and "ours" in programs and (program == "ours" or program in others(programs)):
                families[case._replace(operation=family[1])][program].append((int(family[2]), time))
    families = {case: lines for case, lines in families.items() if len(lines["ours"]) > 1}
    if not families:
        return
    figure, panels = pyplot.subplots((len(families) + 1) // 2, 2, squeeze=False, layout="constrained",
                                     figsize=(10, 2.8 * ((len(families) + 1) // 2)))
    for axes in panels.flat[len(families):]:
        axes.remove()
    for axes, (case, lines) in zip(panels.flat, families.items()):
        for program, points in sorted(lines.items()):
            width, color = (2.5, OWN) if program == "ours" else (1, None)
            axes.plot(*zip(*sorted(points)), marker=".", label=program, linewidth=width, color=color)
        log_scales(axes, "x", "y")
        axes.set(title=f"{case.operation}, {picture_of(case)}", xlabel="radius", ylabel="ms")
        axes.legend(frameon=False)
    write(figure, path)


def plot_memory(peaks, path):
    largest = {}
    for case in peaks:
        if case.operation not in largest or pixels(case) >= pixels(largest[case.operation]):
            largest[case.operation] = case
    if not largest:
        return
    cases = sorted(largest.values(), key=lambda case: peaks[case] / size_in_bytes(case))
    figure, axes = pyplot.subplots(figsize=(10, 1 + 0.22 * len(cases)))
    bars = axes.barh([case.operation for case in cases], [peaks[case] / size_in_bytes(case) for case in cases], color=OWN)
    axes.bar_label(bars, [f"{peaks[case] / 1e6:.3g} MB, {picture_of(case)}" for case in cases], padding=4)
    axes.set(xlabel="pictures of that size", ylim=(-0.7, len(cases) - 0.3),
             title="Memory that a call holds besides the picture")
    write(figure, path)


def write_medians(results, path):
    def entry(case, program, time):
        label = results.labels.get((case, program))
        return {"name": "/".join((case.operation, f"{case.width}x{case.height}", str(case.bits), program)),
                "cpu_time": float(f"{time:.4g}"), "time_unit": "ms", **({"label": label} if label else {})}

    lines = [json.dumps(entry(case, program, time))
             for case, programs in results.medians.items() for program, time in programs.items()]
    context = {f"program {program}": name for program, name in sorted(results.programs.items())}
    path.write_text(f'{{"context": {json.dumps(context, indent=1)},\n"benchmarks": [\n' + ",\n".join(lines) + "\n]}\n",
                    encoding="utf-8")
    print(path)


def write_table(medians, path):
    rows = ["| operation | picture | ours ms | MB/s | bound ms | fastest other | ms | ratio |", "|---" * 8 + "|"]
    for case, programs in medians.items():
        if "ours" not in programs:
            continue
        own = programs["ours"]
        bound = bound_of(medians, case)
        cells = [case.operation, picture_of(case), f"{own:.3g}", f"{megabytes_per_second(case, own):.3g}",
                 f"{bound:.3g}" if bound else ""]
        best = min(others(programs).items(), key=lambda rival: rival[1], default=None)
        cells += [best[0], f"{best[1]:.3g}", f"{own / best[1]:.2f}"] if best else ["", "", ""]
        rows.append("| " + " | ".join(cells) + " |")
    path.write_text("\n".join(rows) + "\n", encoding="utf-8")
    print(path)


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[-1])
    folder.mkdir(parents=True, exist_ok=True)
    results = read(sys.argv[1:-1])
    medians = results.medians
    if not any("ours" in programs for programs in medians.values()):
        sys.exit("bench-plots.py: no result is named operation/WIDTHxHEIGHT/bits/ours")
    plot_overview(results, folder / "overview.svg")
    plot_throughput(medians, folder / "throughput.svg")
    plot_size(medians, folder / "size.svg")
    plot_radius(medians, folder / "radius.svg")
    plot_memory(results.peaks, folder / "memory.svg")
    write_medians(results, folder / "medians.json")
    write_table(medians, folder / "table.md")


main()
