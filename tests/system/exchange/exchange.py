#!/usr/bin/python3
"""Lets other programs write small pictures in every variant that they know, and compares what `dib` shows of the files
with what the programs got.

usage: exchange.py DIB PLUGINS [--all-values | --full] [--match TEXT]

The table (rows_plain.py and rows_packed.py) has rows of a program, a format, the pictures that it gets, a command, and
the variants: every axis has a list of values, and the row stands for all their combinations. One or some combinations of each row are tried;
with --all-values each value of each axis once, and with --full all combinations, which takes an hour. Programs that are
not installed are skipped, with a line that says so.
"""
import argparse
import collections
import concurrent.futures
import importlib
import importlib.util
import itertools
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

import libraries
import pictures
from table import ROWS

for rows in ("rows_plain", "rows_packed"):
    importlib.import_module(rows)  # fills the table


LONGEST = 120  # seconds for one program and one file
STEP = 4  # of the combinations that have each value once, so many are left out between two that are tried


def cases_of(row, arguments):
    values = list(row.axes.values())
    if arguments.full:
        chosen = itertools.product(*values)
    else:
        chosen = [[axis[i % len(axis)] for axis in values] for i in range(max(map(len, values)))]
    cases = [dict(zip(row.axes, each)) for each in chosen]
    cases = [case for case in cases if row.unless is None or not row.unless(case)]
    return cases if arguments.full or arguments.all_values else cases[ROWS.index(row) % min(STEP, len(cases))::STEP]


def is_installed(program):
    if program in libraries.WRITERS:
        return importlib.util.find_spec(libraries.WRITERS[program][0]) is not None
    return shutil.which(program) is not None


def shown_by(dib, plugins, path, folder):
    out = folder / "shown.pam"
    result = subprocess.run([dib, "run", "--plugins", plugins, path, out], capture_output=True, check=False, text=True,
                            timeout=LONGEST)
    if result.returncode != 0:
        raise ValueError(result.stderr.strip().replace(f"dib: {path}: ", ""))
    return pictures.read_pam(out.read_bytes())


def write(row, case, source, picture, path):
    values = {name: value for name, value in case.items() if name != "source"}
    if row.program in libraries.WRITERS:
        libraries.WRITERS[row.program][1](case["source"], picture, path, **{**row.options, **values})
        return
    command = row.command.format(**{"in": source, "out": path, **values})
    result = subprocess.run(command, shell=True, capture_output=True, check=False, text=True, timeout=LONGEST)
    if result.returncode != 0 or not path.exists() or path.stat().st_size == 0:
        raise ValueError("not written: " + (result.stderr.strip().splitlines() or [command])[-1])


def attempt(row, case, sources, dib, plugins):
    """What is wrong with a case; nothing when all is well."""
    source, picture = sources[case["source"]]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        path = folder / f"file.{row.extension}"
        try:
            write(row, case, source, picture, path)
            wanted = libraries.pillow_read(path) if row.is_lossy else row.shown(picture, case)
            found = pictures.difference(shown_by(dib, plugins, path, folder), wanted)
        except Exception as error:  # whatever it is, the exchange failed
            return f"{type(error).__name__}: {error}"
        return "" if isinstance(found, int) and found <= row.tolerance else f"differs by {found}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("dib", type=pathlib.Path)
    parser.add_argument("plugins", type=pathlib.Path)
    parser.add_argument("--all-values", action="store_true")
    parser.add_argument("--full", action="store_true")
    parser.add_argument("--match", default="")
    arguments = parser.parse_args()
    has_pillow = is_installed("Pillow")
    tried, skipped, failed = collections.Counter(), collections.Counter(), 0
    with tempfile.TemporaryDirectory() as name, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        sources = {}
        for kind in pictures.KINDS:
            picture = pictures.make_picture(kind)
            sources[kind] = pictures.write_source(pathlib.Path(name), kind, picture), picture
        work = []
        for row in ROWS:
            cases = [case for case in cases_of(row, arguments) if arguments.match in row.title(case)]
            if is_installed(row.program) and (has_pillow or not row.is_lossy):
                work += [(row, case) for case in cases]
                tried[row.program] += len(cases)
            else:
                skipped[row.program] += len(cases)
        results = pool.map(lambda each: attempt(*each, sources, arguments.dib, arguments.plugins), work)
        for number, ((row, case), problem) in enumerate(zip(work, results), 1):
            if problem:
                failed += 1
                print(f"{row.title(case)}: {problem}", flush=True)
            if number % 250 == 0 and arguments.full:
                print(f"{number} of {len(work)} files", flush=True)
    for program, count in (+tried).items():
        print(f"{program}: {count} files")
    for program, count in (+skipped).items():
        print(f"{program} or what it is compared with is not installed: {count} files are skipped")
    print(f"{failed} wrong")
    if not tried:
        return 77
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
