#!/usr/bin/env python3
"""Runs the commands of docs/everyday-jobs.md: those of dib in one folder, those of the other programs in another with the same
files. Compares the pictures in both folders pixel by pixel, and the lengths of the commands.

usage: everyday-jobs.py DIB MAKE_SAMPLE_PICTURE DOCS_PAGE GIF WORK_DIR

Without Pillow and numpy pictures are not compared. Jobs whose other program is missing are not compared, either.
"""
import json
import math
import os
import pathlib
import re
import shutil
import subprocess
import sys

try:
    import numpy
    from PIL import Image
except ImportError:
    numpy = None


class Page:
    def __init__(self, path):
        self.jobs = {}
        for line in path.read_text(encoding="utf-8").splitlines():
            cells = re.split(r"(?<!\\)\|", line)
            commands = [re.fullmatch(r"\s*`(.*)`\s*", cell) for cell in cells[2:4]]
            if len(cells) == 5 and all(commands):
                self.jobs[cells[1].strip()] = [found[1].replace(r"\|", "|") for found in commands]


class Workshop:
    def __init__(self, dib, make_sample, gif, folder):
        self.dib, self.make_sample, self.folder = dib, make_sample, folder
        shutil.rmtree(folder, ignore_errors=True)
        for inner in ("photos", "sprites", "textures", "anims", "odd", "locked", "full", "bin"):
            (folder / inner).mkdir(parents=True)
        os.symlink(dib, folder / "bin" / "dib")
        os.environ["PATH"] = f"{folder}/bin:{os.environ['PATH']}"
        os.chdir(folder)
        self.sample("sample.bmp", 320, 240)
        for name in ("photo.jpg", "photos/one.jpg", "photos/two.jpg", "a.png", "textures/a.tim:bpp:8,method=median",
                     "odd/it's [1] *?.png", "odd/two\nlines.png", "odd/-n.png", "sprites/1.png:bpp:32 rotate:20,fill=#00000000", "sprites/2.png",
                     "old.png", "scan.png:border:9,color=#123456", "b.png:brighten:0.5",
                     "logo.png:half bpp:32 rotate:20,fill=#00000000", "art.png:turn:90"):
            file, _, chain = name.partition(":")
            self.call("run", "sample.bmp", *chain.split(), file)
        shutil.copy(gif, "anims/first.gif")
        pathlib.Path("art.psd").write_bytes(self.document(pathlib.Path("art.png")))
        pathlib.Path("art.png").unlink()
        os.symlink("/dev/full", "full/half.png")
        os.chmod("locked", 0o555)
        os.chmod(".", 0o777)

    def sample(self, name, width, height):
        subprocess.run([self.make_sample, str(width), str(height), name], check=True)

    def call(self, *words):
        return subprocess.run([self.dib, *words], check=True, capture_output=True, text=True).stdout

    def document(self, picture):
        """A PSD file of red, green and blue planes without layers."""
        ppm = picture.with_suffix(".ppm")
        self.call("run", str(picture), str(ppm))
        data = ppm.read_bytes()
        ppm.unlink()
        found = re.match(rb"P6\s(\d+)\s(\d+)\s255\s", data)
        width, height = int(found[1]), int(found[2])
        pixels = data[found.end():]
        planes = b"".join(pixels[channel::3] for channel in range(3))
        head = b"8BPS\0\1" + bytes(6) + (3).to_bytes(2, "big") + height.to_bytes(4, "big") + width.to_bytes(4, "big")
        return head + b"\0\x08\0\x03" + bytes(12) + b"\0\0" + planes

    def run(self, command, as_nobody=False):
        words = ["bash", "-c", command]
        if as_nobody and os.geteuid() == 0:
            words = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"] + words
        return subprocess.run(words, cwd=self.folder, capture_output=True, text=True, errors="replace", check=False)

    def size(self, file):
        info = self.call("info", file).split(", ")
        return next(part.split()[0] for part in info if part.endswith(" pixels"))


def names(folder):
    return sorted(path.name for path in pathlib.Path(folder).iterdir())


def checks(shop):
    """For each job what must hold after its command: a function of its result."""
    def made(**sizes):
        return lambda result: all(shop.size(file) == size for file, size in sizes["files"].items())

    def holds(files, more=lambda result: True):
        return lambda result: made(files=files)(result) and more(result)

    old = pathlib.Path("old.png").read_bytes()
    return {
        "thumbnails": (0, holds({"thumbs/one.jpg": "200x150", "thumbs/two.jpg": "200x150"})),
        "PSD to PNG": (0, holds({"art.png": "240x320"})),
        "palette of 16": (0, holds({"few.png": "320x240"}, lambda _: "palette of 16" in shop.call("info", "few.png"))),
        "sprite sheet": (0, holds({"sheet.png": "640x240"})),
        "TIM textures": (0, holds({"out/a.png": "320x240"})),
        "contact sheet": (0, holds({"contact.jpg": "427x188"})),
        "strip alpha": (0, holds({"flat.png": "160x120"}, lambda _: not json.loads(shop.call("info", "--json", "flat.png"))["files"][0]["alpha"])),
        "rotate by 90 degrees": (0, holds({"turned.png": "240x320"})),
        "crop to content": (0, holds({"cut.png": "320x240"})),
        "join": (0, holds({"ab.png": "640x240"})),
        "watermark": (0, holds({"marked.jpg": "320x240"})),
        "compare": (1, lambda result: "PSNR" in result.stdout),
        "batch rename": (0, holds({"trip-1.png": "320x240", "trip-2.png": "320x240"})),
        "first frame of animations": (0, lambda _: names("frames") == ["first.png"]),
        "sizes in JSON": (0, lambda result: [(file["width"], file["height"]) for file in json.loads(result.stdout)["files"]]
                          == [(320, 240), (320, 240)]),
        "pipe": (0, holds({"half.png": "160x120"})),
        "never overwrite": (4, lambda result: pathlib.Path("old.png").read_bytes() == old and "exists" in result.stderr),
        "odd names": (0, lambda _: names("new") == ["-n.png", "it's [1] *?.png", "two\nlines.png"]),
        "read-only folder": (4, lambda result: "Permission denied" in result.stderr and names("locked") == []),
        "full disk": (4, lambda result: "No space left on device" in result.stderr),
    }


def pixels(file):
    with Image.open(file) as image:
        array = numpy.asarray(image.convert("RGBA")).astype(float)
    array[:, :, :3] *= array[:, :, 3:] / 255  # as far as they are seen
    return array


def distance(a, b):
    """The largest difference of a channel and the PSNR in decibels."""
    if a.shape != b.shape:
        return 255, 0
    squares = ((a - b)[:, :, :3] ** 2).mean()
    return abs(a - b).max(), 10 * math.log10(255 ** 2 / squares) if squares else math.inf


def same(file, other=None, largest=0):
    """No channel differs by more."""
    def judge(ours, theirs):
        found, _ = distance(pixels(ours / file), pixels(theirs / (other or file)))
        return "" if found <= largest else f"{file} differs by {found}, allowed {largest}"
    return judge


def near(file, other=None, least=0, ours_at=None, theirs_at=None):
    """The PSNR of both, or of a part, is at least so many decibels: JPEG files have their losses, and filters their sharpness."""
    def part(array, at):
        return array if at is None else array[at[1]:at[1] + at[3], at[0]:at[0] + at[2]]

    def judge(ours, theirs):
        _, found = distance(part(pixels(ours / file), ours_at), part(pixels(theirs / (other or file)), theirs_at))
        return "" if found >= least else f"{file} has {found:.1f} dB, wanted {least}"
    return judge


def nearer(file, picture):
    """Ours shows the picture better."""
    def judge(ours, theirs):
        of_ours, of_theirs = (distance(pixels(folder / file), pixels(folder / picture))[1] for folder in (ours, theirs))
        return "" if of_ours >= of_theirs else f"{file} has {of_ours:.1f} dB, elsewhere {of_theirs:.1f}"
    return judge


# What is compared of each job. Jobs that make no picture are not listed.
PICTURES = {
    # libvips saves with a quality of 75, and its filter is sharper.
    "thumbnails": [near("thumbs/one.jpg", least=30), near("thumbs/two.jpg", least=30)],
    "PSD to PNG": [same("art.png")],
    "palette of 16": [nearer("few.png", "photo.jpg")],
    "sprite sheet": [same("sheet.png")],
    # Of 5 bits a colour: dib rounds them to 8 bits, ImageMagick cuts off.
    "TIM textures": [same("out/a.png", largest=1)],
    # The photos alone, as letters and gaps are others; filter and losses, too.
    "contact sheet": [near("contact.jpg", least=31, ours_at=(9, 9, 200, 150), theirs_at=(9, 34, 200, 150))],
    "strip alpha": [same("flat.png", largest=1)],
    "rotate by 90 degrees": [same("turned.png")],
    "crop to content": [same("cut.png")],
    "join": [same("ab.png")],
    # Both save with a quality of their own.
    "watermark": [near("marked.jpg", least=40)],
    "batch rename": [same("trip-1.png", "trip-0.png"), same("trip-2.png", "trip-1.png")],
    "first frame of animations": [same("frames/first.png")],
    # Halves are means of four pixels here, and of more with weights elsewhere.
    "pipe": [near("half.png", least=36)],
    "never overwrite": [same("old.png")],
    "odd names": [near(f"new/{name}.png", least=36) for name in ("it's [1] *?", "two\nlines", "-n")],
}
# Numbers that both print: where they stand in the texts, and how far they may differ.
NUMBERS = {
    "compare": (r"PSNR ([0-9.]+)", r"([0-9.]+)", 0.01),
    "sizes in JSON": (r'"(?:width|height)": *([0-9]+)', r'"(?:width|height)": *([0-9]+)', 0),
}


def unlike(ours, theirs, numbers):
    pattern, other, largest = numbers
    of_ours, of_theirs = (sorted(map(float, re.findall(*each))) for each in ((pattern, ours), (other, theirs)))
    are_alike = len(of_ours) == len(of_theirs) > 0 and all(abs(a - b) <= largest for a, b in zip(of_ours, of_theirs))
    return [] if are_alike else [f"prints {of_ours}, elsewhere {of_theirs}"]


def differences(ours, theirs, jobs, printed):
    """What the other commands make or print otherwise, by their jobs; and jobs whose programs are missing."""
    missing, wrong = [], {}
    for job in sorted(set(PICTURES) | set(NUMBERS)):
        if job not in printed:
            continue
        command = jobs[job][1]
        result = theirs.run(command)
        if result.returncode == 127 or "command not found" in result.stderr:
            missing.append(job)
            continue
        if job in NUMBERS:
            if found := unlike(printed[job], result.stdout + result.stderr, NUMBERS[job]):
                wrong[job] = found
            continue
        try:
            found = [text for text in (judge(ours.folder, theirs.folder) for judge in PICTURES[job]) if text]
        except OSError as error:
            found = [f"{error}\n{result.stderr}"]
        if found:
            wrong[job] = found
    return wrong, missing


def main():
    dib, make_sample, page, gif, folder = (pathlib.Path(word).resolve() for word in sys.argv[1:])
    jobs = Page(page).jobs
    theirs = Workshop(dib, make_sample, gif, folder / "theirs")
    shop = Workshop(dib, make_sample, gif, folder / "ours")
    wanted = checks(shop)
    wrong = sorted(set(wanted) ^ set(jobs))
    for job in wrong:
        print(f"{job}: only in the page or only in the test")
    left_out = [job for job, is_possible in (
        ("first frame of animations", "cannot be loaded" not in shop.call("formats", "gif")),
        ("read-only folder", shop.run("test -r photo.jpg", as_nobody=True).returncode == 0)) if not is_possible]
    printed = {}
    for job in sorted((set(wanted) & set(jobs)) - set(left_out)):
        code, holds = wanted[job]
        result = shop.run(jobs[job][0], as_nobody=job == "read-only folder")
        printed[job] = result.stdout
        if result.returncode != code or not holds(result):
            print(f"{job}: {jobs[job][0]}\nexit {result.returncode}\n{result.stdout}{result.stderr}")
            wrong.append(job)
    longer = [job for job, (ours, other) in jobs.items() if len(ours) > len(other)]
    print(f"{len(jobs)} jobs, left out here: {left_out}, {len(wrong)} wrong, {len(longer)} longer than elsewhere: {longer}")
    differ, missing = differences(shop, theirs, jobs, printed) if numpy else ({}, sorted(jobs))
    for job, texts in differ.items():
        print(f"{job}: {jobs[job][1]}\n" + "\n".join(texts))
    print(f"{len(PICTURES) + len(NUMBERS)} compared with other programs, not installed for {missing}, {len(differ)} wrong")
    return 1 if wrong or differ or len(longer) > 2 else 0


if __name__ == "__main__":
    sys.exit(main())
