#!/usr/bin/env python3
"""Compiles each header by itself and every two of them in both orders, as C++17 and C++20, without a warning. Headers
that serve C programs too are compiled as C.

usage: headers.py COMPILER HEADER_FOLDER...
"""
import concurrent.futures
import os
import pathlib
import subprocess
import sys

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]


def main():
    compiler, *folders = sys.argv[1:]
    headers = sorted(header for folder in folders for header in pathlib.Path(folder).glob("*.h"))
    names = [header.name for header in headers]
    tries = [("c++", standard, order) for standard in ("c++17", "c++20")
             for order in [(name,) for name in names] + [(first, second) for first in names for second in names]]
    tries += [("c", "c11", (header.name,)) for header in headers if "__cplusplus" in header.read_text(encoding="utf-8")]

    def compiles(language, standard, order):
        includes = [option for name in order for option in ("-include", name)]
        return subprocess.run([compiler, "-x", language, f"-std={standard}", *WARNINGS, "-fsyntax-only",
                               *(f"-I{folder}" for folder in folders), *includes, "/dev/null"],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode == 0

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(lambda one: compiles(*one), tries))
    wrong = [f"{' '.join(order)} as {standard}" for (_, standard, order), good in zip(tries, results) if not good]
    print("\n".join(wrong + [f"{len(names)} headers, {len(tries)} ways, {len(wrong)} wrong"]))
    return 1 if wrong or not headers else 0


if __name__ == "__main__":
    sys.exit(main())
