#!/usr/bin/env python3
"""Measures two builds of the benches in turns and prints what became slower or faster by more than the noise.

usage: scripts/compare-builds.py OLD NEW [--filter REGEX] [--rounds N] [--share PERCENT] [--all]

OLD and NEW are build folders with bench/bench_ours. A ratio is NEW's processor time over OLD's, the median over the
rounds; its noise is the median distance of the rounds from it. A case counts when the ratio leaves 1 by more than
PERCENT (3) and by more than twice the noise. The exit code is 0 whatever was measured.
"""
import argparse
import json
import os
import re
import statistics
import subprocess
import sys


def listed(program, pattern):
    names = subprocess.run([program, "--benchmark_list_tests=true", f"--benchmark_filter={pattern}"],
                           capture_output=True, text=True, check=True).stdout.split()
    return [name for name in names if "/ours/" in name]


def measured(program, pattern):
    """Processor time of each case of one run, in nanoseconds."""
    run = subprocess.run([program, f"--benchmark_filter={pattern}", "--benchmark_min_time=0.02",
                          "--benchmark_format=json"], capture_output=True, text=True, check=True)
    cases = json.loads(run.stdout)["benchmarks"]
    scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    return {case["run_name"]: case["cpu_time"] * scale[case["time_unit"]]
            for case in cases if case["run_type"] == "iteration" and not case.get("error_occurred")}


def groups(names):
    """Cases of one operation are measured in one run: they share their pictures."""
    by_operation = {}
    for name in names:
        by_operation.setdefault(name.split("/")[0], []).append(name)
    return by_operation


def compare(old, new, names, rounds):
    """Ratios of the cases of an operation; OLD and NEW take turns in going first."""
    pattern = "^(" + "|".join(map(re.escape, names)) + ")$"
    ratios = {}
    times = {}
    for turn in range(rounds):
        if turn % 2 == 0:
            before = measured(old, pattern)
            after = measured(new, pattern)
        else:
            after = measured(new, pattern)
            before = measured(old, pattern)
        for name in before.keys() & after.keys():
            ratios.setdefault(name, []).append(after[name] / before[name])
            times.setdefault(name, []).append(after[name])
    return {name: (statistics.median(values), noise(values), statistics.median(times[name]))
            for name, values in ratios.items()}


def noise(values):
    middle = statistics.median(values)
    return statistics.median(abs(value - middle) for value in values)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("old")
    parser.add_argument("new")
    parser.add_argument("--filter", default="-^cancel_")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--share", type=float, default=3)
    parser.add_argument("--all", action="store_true", help="print every case")
    options = parser.parse_args()
    old, new = (os.path.join(folder, "bench", "bench_ours") for folder in (options.old, options.new))

    names = sorted(set(listed(old, options.filter)) & set(listed(new, options.filter)))
    slower = faster = 0
    for group in groups(names).values():
        for name, (ratio, spread, time) in sorted(compare(old, new, group, options.rounds).items()):
            counts = abs(ratio - 1) > max(options.share / 100, 2 * spread)
            slower += counts and ratio > 1
            faster += counts and ratio < 1
            if counts or options.all:
                label = "/".join(name.split("/")[:3])
                print(f"{label:44} {ratio:6.3f} +- {spread:.3f}  {time / 1e6:9.3f} ms", flush=True)
    print(f"{len(names)} cases: {slower} slower, {faster} faster")


if __name__ == "__main__":
    sys.exit(main())
