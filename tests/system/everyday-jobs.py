#!/usr/bin/env python3
"""Runs the commands of docs/everyday-jobs.md. Compares their lengths with those of the other programs.

usage: everyday-jobs.py DIB MAKE_SAMPLE_PICTURE DOCS_PAGE GIF WORK_DIR
"""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys


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
        self.sample("sample.bmp", 64, 48)
        for name in ("photo.jpg", "photos/one.jpg", "photos/two.jpg", "a.png", "textures/a.tim:bpp:8,method=median",
                     "odd/it's [1] *?.png", "odd/two\nlines.png", "odd/-n.png", "sprites/1.png:half", "sprites/2.png",
                     "old.png", "scan.png:border:9,color=#123456", "b.png:brighten:0.5",
                     "logo.png:half bpp:32", "art.png:turn:90"):
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
        return subprocess.run(words, capture_output=True, text=True, check=False)

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
        "thumbnails": (0, holds({"thumbs/one.jpg": "64x48", "thumbs/two.jpg": "64x48"})),
        "PSD to PNG": (0, holds({"art.png": "48x64"})),
        "palette of 16": (0, holds({"few.png": "64x48"}, lambda _: "palette of 16" in shop.call("info", "few.png"))),
        "sprite sheet": (0, holds({"sheet.png": "128x48"})),
        "TIM textures": (0, holds({"out/a.png": "64x48"})),
        "contact sheet": (0, holds({"contact.jpg": "155x86"})),
        "strip alpha": (0, holds({"flat.png": "32x24"}, lambda _: not json.loads(shop.call("info", "--json", "flat.png"))["files"][0]["alpha"])),
        "rotate by 90 degrees": (0, holds({"turned.png": "48x64"})),
        "crop to content": (0, holds({"cut.png": "64x48"})),
        "join": (0, holds({"ab.png": "128x48"})),
        "watermark": (0, holds({"marked.jpg": "64x48"})),
        "compare": (1, lambda result: "PSNR" in result.stdout),
        "batch rename": (0, holds({"trip-1.png": "64x48", "trip-2.png": "64x48"})),
        "first frame of animations": (0, lambda _: names("frames") == ["first.png"]),
        "sizes in JSON": (0, lambda result: [(file["width"], file["height"]) for file in json.loads(result.stdout)["files"]]
                          == [(64, 48), (64, 48)]),
        "pipe": (0, holds({"half.png": "32x24"})),
        "never overwrite": (4, lambda result: pathlib.Path("old.png").read_bytes() == old and "exists" in result.stderr),
        "odd names": (0, lambda _: names("new") == ["-n.png", "it's [1] *?.png", "two\nlines.png"]),
        "read-only folder": (4, lambda result: "Permission denied" in result.stderr and names("locked") == []),
        "full disk": (4, lambda result: "No space left on device" in result.stderr),
    }


def main():
    dib, make_sample, page, gif, folder = (pathlib.Path(word).resolve() for word in sys.argv[1:])
    jobs = Page(page).jobs
    shop = Workshop(dib, make_sample, gif, folder)
    wanted = checks(shop)
    wrong = sorted(set(wanted) ^ set(jobs))
    for job in wrong:
        print(f"{job}: only in the page or only in the test")
    left_out = [job for job, is_possible in (
        ("first frame of animations", "cannot be loaded" not in shop.call("formats", "gif")),
        ("read-only folder", shop.run("test -r photo.jpg", as_nobody=True).returncode == 0)) if not is_possible]
    for job in sorted((set(wanted) & set(jobs)) - set(left_out)):
        code, holds = wanted[job]
        result = shop.run(jobs[job][0], as_nobody=job == "read-only folder")
        if result.returncode != code or not holds(result):
            print(f"{job}: {jobs[job][0]}\nexit {result.returncode}\n{result.stdout}{result.stderr}")
            wrong.append(job)
    longer = [job for job, (ours, other) in jobs.items() if len(ours) > len(other)]
    print(f"{len(jobs)} jobs, left out here: {left_out}, {len(wrong)} wrong, {len(longer)} longer than elsewhere: {longer}")
    return 1 if wrong or len(longer) > 2 else 0


if __name__ == "__main__":
    sys.exit(main())
