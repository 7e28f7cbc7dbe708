#!/usr/bin/env python3
"""Looks at the page of `dib bench-report` as its readers do.

usage: report.py DIB FOLDER     ends with 77 when no browser is installed
"""
import json
import pathlib
import shutil
import subprocess
import sys

import browser


def check(condition, message):
    if not condition:
        print("failed:", message)
        sys.exit(1)


def write_results(path):
    """Results of every kind: sizes, radii, memory, another program, memcpy."""
    entries = []

    def add(name, time):
        entries.append({"name": name, "run_type": "iteration", "cpu_time": time, "time_unit": "us",
                        "max_bytes_used": 1000 * time})

    for number, operation in enumerate(("invert", "emboss", "mosaic10", "box_blur_r2", "box_blur_r10")):
        for width in (100, 300, 900):
            add(f"{operation}/{width}x{width}/24/ours", (number + 1) * width * width / 10000)
            add(f"{operation}/{width}x{width}/24/another", (number + 2) * width * width / 9000)
            add(f"memcpy/{width}x{width}/24/limit", width * width / 50000)
    path.write_text(json.dumps({"benchmarks": entries}))


def main():
    dib, folder = sys.argv[1:]
    browser.program()
    folder = pathlib.Path(folder).resolve()
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    write_results(folder / "results.json")
    page_file = folder / "report.html"
    subprocess.run([dib, "bench-report", folder / "results.json", page_file], check=True)
    plot_file = folder / "plot.svg"
    subprocess.run([dib, "bench-report", folder / "results.json", plot_file], check=True)

    for width, dark in ((1280, False), (360, True)):
        with browser.Browser(page_file.as_uri(), width, 800, dark) as page:
            check(page.value("document.querySelectorAll('svg').length") >= 6, "a plot is missing")
            check(page.value("[...document.querySelectorAll('svg')].every(svg => svg.getBoundingClientRect().height > 50)"),
                  "a plot has no size")
            # No text of a plot leaves it.
            check(page.value("[...document.querySelectorAll('svg text')].every(text => { const own = text.getBBox(), "
                             "all = text.ownerSVGElement.viewBox.baseVal; return own.x >= -1 && own.y >= -1 && "
                             "own.x + own.width <= all.width + 1 && own.y + own.height <= all.height + 1; })"),
                  "text leaves its plot")
            check(page.value("document.documentElement.scrollWidth <= innerWidth") and
                  page.value("innerWidth") == width, f"{width} pixels: the page scrolls sideways")
            page.value("document.querySelector('summary').click()")
            check(page.value("document.querySelector('table').getBoundingClientRect().height > 50"),
                  "the figures are not shown")
            check(page.value("document.documentElement.scrollWidth <= innerWidth"), "the figures scroll the page")
            page.screenshot(folder / f"report-{width}.png", whole=True)
            check(page.complaints() == [], f"the console says {page.complaints()}")
    with browser.Browser(plot_file.as_uri()) as page:
        check(page.value("document.documentElement.nodeName") == "svg", "the plot alone is no picture")
        check(page.value("document.querySelectorAll('g circle.own').length") == 5, "a mark is missing")
    print("plots and figures are right")


main()
