#!/usr/bin/env python3
"""Uses the page for browsers as people do, opened from the disk, beside the program dib of this machine.

usage: page.py DIB MAKE_SAMPLE_PICTURE SITE FOLDER     ends with 77 when no browser is installed
"""
import base64
import json
import pathlib
import shutil
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tools" / "browser"))
import browser  # noqa: E402

SEEDS = pathlib.Path(__file__).resolve().parents[2] / "fuzz" / "seeds"
MESSAGE = "document.getElementById('message').textContent"
IDLE = "document.getElementById('picture').ariaBusy === 'false'"
# The C libraries of this machine and of browsers have generators of their own.
OTHER_RANDOM = ("noise", "color-noise", "diffuse")
READ_PIXELS = """(() => {
    const canvas = document.getElementById('after');
    const copy = new OffscreenCanvas(canvas.width, canvas.height).getContext('2d', {willReadFrequently: true});
    copy.drawImage(canvas, 0, 0);
    const {data} = copy.getImageData(0, 0, canvas.width, canvas.height);
    let letters = '';
    let isOpaque = true;
    for (let i = 0; i < data.length; i += 4) {
        letters += String.fromCharCode(data[i], data[i + 1], data[i + 2]);
        isOpaque &&= data[i + 3] === 255;
    }
    return [canvas.width, canvas.height, isOpaque, btoa(letters)];
})()"""


def check(condition, message):
    if not condition:
        print("failed:", message)
        sys.exit(1)


class Page(browser.Browser):
    """The page with its library loaded."""

    def __init__(self, site, **options):
        begun = time.monotonic()
        super().__init__((site / "index.html").as_uri(), **options)
        check(self.becomes(f"{MESSAGE}.includes('is ready')"), f"the library was not loaded: {self.value(MESSAGE)}")
        self.seconds = time.monotonic() - begun

    def choose(self, field, path):
        root = self.call("DOM.getDocument")["root"]["nodeId"]
        node = self.call("DOM.querySelector", nodeId=root, selector=field)["nodeId"]
        self.call("DOM.setFileInputFiles", files=[str(path)], nodeId=node)

    def open(self, path):
        self.value("document.getElementById('facts').textContent = ''")
        self.choose("#file", path)
        return self.becomes(f"document.getElementById('facts').textContent.startsWith({json.dumps(path.name)})") and \
            self.becomes(IDLE)

    def apply(self, chain):
        self.value(f"location.hash = '#chain=' + encodeURIComponent({json.dumps(chain)})")
        check(self.becomes(f"decodeURIComponent(location.hash) === '#chain=' + {json.dumps(chain)} && {IDLE}"),
              f"{chain} did not end: {self.value(MESSAGE)}")
        check(not self.value("document.getElementById('message').classList.contains('wrong')"),
              f"{chain}: {self.value(MESSAGE)}")

    def clear(self):
        self.value("location.hash = ''")
        check(self.becomes(f"document.querySelectorAll('.step').length === 0 && {IDLE}"), "the steps do not go with the address")

    def pixels(self):
        width, height, is_opaque, data = self.value(READ_PIXELS)
        return width, height, is_opaque, base64.b64decode(data)


class Program:
    def __init__(self, path, folder):
        self.path = path
        self.folder = folder

    def pixels(self, *arguments):
        """Width, height and colours of what the program makes; None when it refuses."""
        target = self.folder / "expected.ppm"
        target.unlink(missing_ok=True)
        if subprocess.run([self.path, "run", *arguments, target], cwd=self.folder, capture_output=True).returncode != 0:
            return None
        magic, size, most, data = target.read_bytes().split(b"\n", 3)
        check((magic, most) == (b"P6", b"255"), "the program writes another kind of PPM")
        return *map(int, size.split()), data


def check_operations(page, program):
    """Every operation in its first sample, pixel by pixel."""
    page.open(program.folder / "sample.bmp")
    operations = json.loads(subprocess.run([program.path, "ops", "--json"], capture_output=True, check=True).stdout)["operations"]
    opaque = 0
    for operation in operations:
        chain = next(text for text in operation["samples"] if "other.bmp" not in text) \
            if not all("other.bmp" in text for text in operation["samples"]) else None
        if chain is None or operation["name"] in OTHER_RANDOM:
            continue
        # Spaces in a chain: the steps are arguments of their own.
        page.apply(chain)
        width, height, is_opaque, data = page.pixels()
        expected = program.pixels("sample.bmp", *chain.split(" "))
        check((width, height) == expected[:2], f"{chain}: {width}x{height} in place of {expected[:2]}")
        if is_opaque:  # a canvas rounds the colours of other pixels
            opaque += 1
            check(data == expected[2], f"{chain} has other pixels")
    check(opaque >= 35, f"only {opaque} operations were compared")
    return opaque


def check_second_pictures(page, program):
    page.value("document.getElementById('operation').value = 'compose'; document.getElementById('add').click()")
    # The example of the operation names a picture that the page does not have yet.
    check(page.becomes(f"{IDLE} && {MESSAGE}.includes('other.bmp')"), "a missing picture is not told")
    page.choose(".path input[type=file]", program.folder / "other.bmp")
    check(page.becomes(f"{IDLE} && {MESSAGE}.startsWith('160 x 120')"), f"no second picture: {page.value(MESSAGE)}")
    chain = page.value("decodeURIComponent(location.hash.slice(7))")
    check(page.pixels()[3] == program.pixels("sample.bmp", *chain.split(" "))[2], f"{chain} has other pixels")


def check_formats(page, program):
    """A file of each format; formats that only some systems write come from the seeds."""
    page.clear()
    files = []
    for extension in ("bmp", "tga", "ppm", "iff", "tim", "png", "jpg", "tif", "webp"):
        files.append(program.folder / f"sample.{extension}")
        if extension != "bmp":
            subprocess.run([program.path, "run", program.folder / "sample.bmp", files[-1]], check=True, capture_output=True)
    for folder in ("psd", "hdr", "dds", "gif"):
        seeds = sorted(path for path in (SEEDS / folder).glob("*.*") if program.pixels(path))
        files.append(seeds[len(seeds) // 2])
    for path in files:
        check(page.open(path), f"{path.name} was not opened: {page.value(MESSAGE)}")
        width, height, is_opaque, data = page.pixels()
        expected = program.pixels(path)
        check((width, height) == expected[:2], f"{path.name} has another size")
        check(not is_opaque or data == expected[2], f"{path.name} has other pixels")
    return len(files)


def check_cancel(page, program):
    page.clear()
    subprocess.run([program.path, "run", program.folder / "sample.bmp", "resize:3000x3000", program.folder / "large.bmp"],
                   check=True, capture_output=True)
    check(page.open(program.folder / "large.bmp"), "the large picture was not opened")
    page.value("location.hash = '#chain=' + encodeURIComponent('median:50 median:50 median:50 median:50')")
    check(page.becomes("document.getElementById('progress').value > 0"), "no progress is shown")
    begun = time.monotonic()
    page.value("document.getElementById('cancel').click()")
    check(page.becomes(f"{MESSAGE} === 'Cancelled.'"), "a long chain cannot be cancelled")
    seconds = time.monotonic() - begun
    check(page.value("document.querySelectorAll('.step').length") == 0, "the steps are not those of the picture shown")
    page.apply("half")
    check(page.pixels()[:2] == (1500, 1500), "nothing works after a cancel")
    return seconds


def press(page, key, shift=False):
    codes = {"Tab": 9, "Enter": 13, "ArrowRight": 39, " ": 32, "z": 90}
    details = {"key": key, "windowsVirtualKeyCode": codes[key], "modifiers": 8 if shift else 2 if key == "z" else 0}
    if key in ("Enter", " "):
        details["text"] = "\r" if key == "Enter" else " "
    page.call("Input.dispatchKeyEvent", type="keyDown", **details)
    page.call("Input.dispatchKeyEvent", type="keyUp", **details)


def tab_to(page, selector):
    for _ in range(60):
        press(page, "Tab")
        if page.value(f"document.activeElement.matches({json.dumps(selector)})"):
            return
    check(False, f"Tab does not reach {selector}")


def check_keyboard(site):
    """A picture is opened, changed, seen, undone and saved without a pointer."""
    with Page(site) as page:
        tab_to(page, "#sample")
        press(page, "Enter")
        check(page.becomes(f"document.getElementById('facts').textContent.startsWith('sample') && {IDLE}"), "no sample was opened")
        tab_to(page, "#divider")
        press(page, "ArrowRight")
        tab_to(page, "#operation")
        tab_to(page, "#add")
        press(page, "Enter")
        check(page.becomes("document.querySelectorAll('.step').length === 1"), "no step was added")
        check(page.becomes(IDLE), "the step was not applied")
        tab_to(page, "#save")
        press(page, "z")
        check(page.becomes("document.querySelectorAll('.step').length === 0"), "the step was not undone")
        tab_to(page, "#sample")
        tab_to(page, "#save")
        press(page, "Enter")
        check(page.becomes(f"{MESSAGE}.startsWith('Saved sample-out.png')"), f"nothing was saved: {page.value(MESSAGE)}")
        check(page.complaints() == [], f"the console was told {page.complaints()}")


def check_names(page):
    """Everything that can be operated has a name for those who do not see it."""
    page.apply("rotate:30 text:Sample bpp:8,method=median")
    page.call("Accessibility.enable")
    nodes = page.call("Accessibility.getFullAXTree")["nodes"]
    kinds = {"button", "textbox", "checkbox", "slider", "combobox", "link", "image", "progressbar", "spinbutton", "ColorWell"}
    met = [node for node in nodes if not node.get("ignored") and node["role"]["value"] in kinds]
    nameless = [node for node in met if not node.get("name", {}).get("value", "").strip()]
    check(len(met) > 30, f"only {len(met)} elements were met")
    check(nameless == [], f"without a name: {nameless}")


def check_narrow(site):
    with Page(site, width=360, height=740) as page:
        page.value("document.getElementById('sample').click()")
        check(page.becomes(f"document.getElementById('facts').textContent.startsWith('sample') && {IDLE}"), "no sample was opened")
        page.apply("rotate:30 text:Sample levels:20,230")
        width = page.value("document.documentElement.scrollWidth")
        check(width <= 360, f"the page is {width} pixels wide on a screen of 360")


def main():
    program_path, make_sample, site, folder = (pathlib.Path(argument).resolve() for argument in sys.argv[1:5])
    browser.program()
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    program = Program(program_path, folder)
    subprocess.run([make_sample, "160", "120", folder / "sample.bmp"], check=True)
    subprocess.run([program_path, "run", folder / "sample.bmp", "mirror", folder / "other.bmp"], check=True, capture_output=True)
    with Page(site) as page:
        print(f"the library was ready after {page.seconds:.1f} s, the start of the browser included")
        print(f"{check_operations(page, program)} operations have the pixels of the program")
        check_second_pictures(page, program)
        print(f"{check_formats(page, program)} files have the pixels of the program")
        check_names(page)
        print(f"a long chain was cancelled in {check_cancel(page, program):.2f} s")
        check(page.complaints() == [], f"the console was told {page.complaints()}")
    check_keyboard(site)
    check_narrow(site)


if __name__ == "__main__":
    main()
