#!/usr/bin/env python3
"""Looks at the page of `dib gallery` as its readers do.

usage: gallery.py DIB MAKE_SAMPLE_PICTURE FOLDER     ends with 77 when no browser is installed
"""
import pathlib
import shutil
import subprocess
import sys

import browser

ACTIVE = "document.activeElement"
LOADED = "[...document.images].every(image => image.complete && image.naturalWidth > 0)"


def check(condition, message):
    if not condition:
        print("failed:", message)
        sys.exit(1)


def check_page(page, pictures):
    page.wait_until(LOADED)
    # The pictures, the two of the viewer and the two sources.
    check(page.value("document.images.length") == pictures + 4, "a picture is missing")
    check(page.value("document.querySelectorAll('.sample').length") == pictures, "a sample is missing")
    check(page.value("[...document.querySelectorAll('.sample img')].every(image => image.alt.length > 10)"),
          "a picture has no text in its place")
    check(page.value("new Set([...document.querySelectorAll('[id]')].map(e => e.id)).size === "
                     "document.querySelectorAll('[id]').length"), "an id is used twice")
    check(page.value("[...document.querySelectorAll('a')].every(a => document.querySelector(a.hash))"),
          "a link leads nowhere")


def check_keyboard(page):
    # The first stop leads past the table of contents.
    page.press("Tab")
    check(page.value(f"{ACTIVE}.className") == "skip", "the first stop is not the way to the pictures")
    page.press("Enter")
    page.press("Tab")
    check(page.value(f"{ACTIVE}.closest('.sample') === document.querySelector('.sample')"),
          "the second stop is not the first picture")
    page.press("Tab")
    check(page.value(f"{ACTIVE}.closest('.sample') === document.querySelectorAll('.sample')[1]"),
          "the third stop is not the second picture")

    page.press("Enter")
    check(page.value("viewer.open"), "Enter does not open the picture")
    check(page.value("document.getElementById('viewer-title').textContent === "
                     "document.querySelectorAll('.sample')[1].dataset.chain"), "another picture was opened")
    page.wait_until(LOADED)
    check(page.value(f"{ACTIVE}.id") == "divider", "the divider cannot be moved at once")
    before = page.value("getComputedStyle(stage).getPropertyValue('--at')")
    for _ in range(5):
        page.press("ArrowRight")
    after = page.value("getComputedStyle(stage).getPropertyValue('--at')")
    check((before, after) == ("50%", "55%"), f"the divider went from {before} to {after}")
    page.press("ArrowLeft")
    check(page.value("divider.value") == "54", "the divider does not go back")
    page.press("Home")
    check(page.value("getComputedStyle(document.getElementById('stage-after')).clipPath").endswith("0%)"),
          "the result is not shown whole")

    for stop in ("previous", "next"):
        page.press("Tab")
        check(page.value(f"{ACTIVE}.id") == stop, f"{stop} is no stop")
    page.press("Enter")
    check(page.value("document.getElementById('viewer-place').textContent").startswith("3 of "),
          "the next picture is not shown")
    page.press("Escape")
    check(not page.value("viewer.open"), "Escape does not close the picture")
    check(page.value(f"{ACTIVE}.closest('.sample') === document.querySelectorAll('.sample')[2]"),
          "the place on the page is lost")


def check_width(page, width):
    check(page.value("innerWidth") == width, "the window has another width")
    check(page.value("document.documentElement.scrollWidth") <= width, f"{width} pixels: the page scrolls sideways")
    page.value("document.querySelectorAll('.sample button')[10].click()")
    check(page.value("viewer.getBoundingClientRect().right") <= width, f"{width} pixels: the viewer is too wide")
    check(page.value("viewer.scrollWidth <= viewer.clientWidth"), f"{width} pixels: the viewer scrolls sideways")


def main():
    dib, make_sample, folder = sys.argv[1:]
    browser.program()
    folder = pathlib.Path(folder).resolve()
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    subprocess.run([make_sample, "480", "360", folder / "sample.bmp"], check=True)
    subprocess.run([dib, "gallery", folder / "sample.bmp", folder / "gallery"], check=True)
    pictures = len(list((folder / "gallery/pictures").glob("*-[0-9].png")))
    check(pictures > 0, "no picture was written")
    url = (folder / "gallery/index.html").as_uri()

    with browser.Browser(url) as page:
        check_page(page, pictures)
        page.screenshot(folder / "page.png")
        check_keyboard(page)
        page.value("document.querySelectorAll('.sample button')[16].click()")
        page.screenshot(folder / "viewer.png")
        check(page.complaints() == [], f"the console says {page.complaints()}")
    with browser.Browser(url, 360, 740, dark=True) as page:
        check_page(page, pictures)
        page.screenshot(folder / "small.png")
        check_width(page, 360)
        page.screenshot(folder / "small-viewer.png")
        check(page.complaints() == [], f"the console says {page.complaints()}")
    print(f"{pictures} pictures, keyboard and small screen are right")


main()
