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
# Pictures further down the page load when they come near.
LOADED = "[...document.querySelectorAll('img[src]')].every(image => image.complete && image.naturalWidth > 0)"
LOAD_ALL = "document.querySelectorAll('img').forEach(image => image.loading = 'eager')"


def check(condition, message):
    if not condition:
        print("failed:", message)
        sys.exit(1)


def check_page(page, pictures):
    page.value(LOAD_ALL)
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
    # Then its two copy buttons.
    for label in ("Copy the command", "Copy the C++ call"):
        page.press("Tab")
        expect(f"{ACTIVE}.ariaLabel === '{label}'", f"'{label}' is no stop")
    page.press("Tab")
    expect(sample_has_focus(1), "the next stop is not the second picture")

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
    expect("getComputedStyle(document.getElementById('after')).clipPath.endsWith(' 0%)')",
           "the result is not shown whole")

    for stop in ("copy", "copy", "previous", "next"):
        page.press("Tab")
        expect(f"{ACTIVE}.id === '{stop}' || {ACTIVE}.className === '{stop}'", f"{stop} is no stop")
    page.press("Enter")
    expect("document.getElementById('viewer-place').textContent.startsWith('3 of ')", "the next picture is not shown")
    page.press("Escape")
    expect("!viewer.open", "Escape does not close the picture")
    expect(sample_has_focus(2), "the place on the page is lost")


def check_copying(page):
    """The buttons fill the clipboard, also where the browser refuses its function to do so."""
    page.call("Browser.grantPermissions", permissions=["clipboardReadWrite", "clipboardSanitizedWrite"])
    sample = "document.querySelector('[data-chain=\"turn:90\"]')"
    texts = {"command": "'dib run in.bmp turn:90 out.bmp'", "call": f"{sample}.querySelector('.call').textContent"}
    for preparation in ("0", "navigator.clipboard.writeText = () => Promise.reject(new Error())"):
        page.value(preparation)
        for kind, text in texts.items():
            page.value(f"{sample}.querySelector('.{kind} + .copy').focus()")
            page.press("Enter")
            check(page.becomes(f"{ACTIVE}.textContent === 'Copied'"), f"the button of the {kind} does not answer")
            check(page.becomes(f"navigator.clipboard.readText().then(copied => copied === {text})"),
                  f"the {kind} is not copied")


def check_pixels(page):
    """Pictures keep their pixels as squares, and only those that are too large are smoothed."""
    wrong = page.value("""[...document.querySelectorAll('.sample img')].filter(image => {
        const scale = image.getBoundingClientRect().width / image.naturalWidth;
        const smooth = getComputedStyle(image).imageRendering === 'auto';
        return smooth ? scale >= 1 : !Number.isInteger(scale);
    }).map(image => image.src)""")
    check(wrong == [], f"stretched or smoothed: {wrong}")
    page.value("document.querySelector('[data-chain=\"half half half\"] .compare').click()")
    check(page.becomes("document.getElementById('stage-after').getBoundingClientRect().width > 0"), "nothing is compared")
    sizes = page.value("""['stage-before', 'stage-after'].map(id => {
        const image = document.getElementById(id);
        return [image.getBoundingClientRect().width / image.naturalWidth, getComputedStyle(image).imageRendering];
    })""")
    check(all(scale == int(scale) >= 1 and rendering == "pixelated" for scale, rendering in sizes),
          f"the viewer stretches pixels: {sizes}")
    check(sizes[1][0] == 8 * sizes[0][0], f"an eighth is not shown eight times as large: {sizes}")
    page.press("Escape")
    check(page.becomes("!viewer.open"), "the viewer stays open")
    # What other operations prepared is compared with its preparation.
    page.value("document.querySelector('[data-before] .compare').click()")
    check(page.becomes("document.getElementById('stage-before').src.includes('/pictures/before-')"),
          "the preparation is not shown")
    page.press("Escape")
    check(page.becomes("!viewer.open"), "the viewer stays open")


def check_width(page, width):
    check(page.value("innerWidth") == width, "the window has another width")
    check(page.value("document.documentElement.scrollWidth") <= width, f"{width} pixels: the page scrolls sideways")
    page.value("document.querySelectorAll('.compare')[10].click()")
    check(page.value("viewer.getBoundingClientRect().right") <= width, f"{width} pixels: the viewer is too wide")
    check(page.value("viewer.scrollWidth <= viewer.clientWidth"), f"{width} pixels: the viewer scrolls sideways")
    check(page.becomes("""['stage-before', 'stage-after'].every(id => {
        const image = document.getElementById(id).getBoundingClientRect(), room = stage.getBoundingClientRect();
        return image.width > 0 && image.left >= room.left && image.right <= room.right;
    })"""), f"{width} pixels: the viewer cuts pictures off")


def main():
    dib, make_sample, folder = sys.argv[1:]
    browser.program()
    folder = pathlib.Path(folder).resolve()
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    subprocess.run([make_sample, "480", "360", folder / "sample.bmp"], check=True)
    subprocess.run([dib, "gallery", folder / "sample.bmp", folder / "gallery", "--side=240"], check=True)
    pictures = len([file for file in (folder / "gallery/pictures").iterdir() if not file.name.startswith("before-")])
    check(pictures > 0, "no picture was written")
    url = (folder / "gallery/index.html").as_uri()

    with browser.Browser(url) as page:
        check_page(page, pictures)
        page.screenshot(folder / "page.png")
        check_keyboard(page)
        check_pixels(page)
        check_copying(page)
        page.value("document.querySelectorAll('.compare')[16].click()")
        page.screenshot(folder / "viewer.png")
        check(page.complaints() == [], f"the console says {page.complaints()}")
    with browser.Browser(url, 360, 740, dark=True) as page:
        check_page(page, pictures)
        page.screenshot(folder / "small.png")
        check_width(page, 360)
        page.screenshot(folder / "small-viewer.png")
        check(page.complaints() == [], f"the console says {page.complaints()}")
    print(f"{pictures} pictures, keyboard, copying, pixels and small screen are right")


main()
