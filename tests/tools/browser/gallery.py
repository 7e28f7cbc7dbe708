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
    def expect(expression, message):
        check(page.becomes(expression), message)

    def sample_has_focus(index):
        return f"{ACTIVE}.closest('.sample') === document.querySelectorAll('.sample')[{index}]"

    # The first stop leads past the table of contents.
    page.press("Tab")
    expect(f"{ACTIVE}.className === 'skip'", "the first stop is not the way to the pictures")
    page.press("Enter")
    expect("location.hash === '#operations'", "the first stop does not lead to the pictures")
    page.press("Tab")
    expect(sample_has_focus(0), "the second stop is not the first picture")
    page.press("Tab")
    expect(sample_has_focus(1), "the third stop is not the second picture")

    page.press("Enter")
    expect("viewer.open", "Enter does not open the picture")
    expect("document.getElementById('viewer-title').textContent === "
           "document.querySelectorAll('.sample')[1].dataset.chain", "another picture was opened")
    expect(LOADED, "the opened picture does not load")
    expect(f"{ACTIVE}.id === 'divider'", "the divider cannot be moved at once")
    place = "getComputedStyle(stage).getPropertyValue('--at')"
    expect(f"{place} === '50%'", "the divider does not start in the middle")
    for _ in range(5):
        page.press("ArrowRight")
    expect(f"{place} === '55%'", "five strokes do not move the divider by five")
    page.press("ArrowLeft")
    expect(f"{place} === '54%'", "the divider does not go back")
    page.press("Home")
    expect("getComputedStyle(document.getElementById('stage-after')).clipPath.endsWith(' 0%)')",
           "the result is not shown whole")

    for stop in ("previous", "next"):
        page.press("Tab")
        expect(f"{ACTIVE}.id === '{stop}'", f"{stop} is no stop")
    page.press("Enter")
    expect("document.getElementById('viewer-place').textContent.startsWith('3 of ')", "the next picture is not shown")
    page.press("Escape")
    expect("!viewer.open", "Escape does not close the picture")
    expect(sample_has_focus(2), "the place on the page is lost")


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
    subprocess.run([dib, "gallery", folder / "sample.bmp", folder / "gallery", "--side=240"], check=True)
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
