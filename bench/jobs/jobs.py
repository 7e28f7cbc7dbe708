#!/usr/bin/env python3
"""Compares seven whole jobs at the command line: dib, ImageMagick, GraphicsMagick, libvips, ffmpeg and Pillow.

usage: bench/jobs/jobs.py DIB MAKE_SAMPLE_PICTURE [--rounds N] [--only JOB,...] [--write]

Each job is a command from files to files, start of the program included, on one processor. A round runs every program once.
The table tells medians of the time by the clock and of processor time, and the most memory that a process of the job held.
Programs that are not installed are left out; what a program cannot do is shown as "fails". --write puts the tables into
docs/performance/jobs.md.
"""
import argparse
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "performance" / "jobs.md"
MARK = "<!-- written by bench/jobs/jobs.py -->\n"
SMALL = 500  # pictures in the folder
ONE_THREAD = {"VIPS_CONCURRENCY": "1", "MAGICK_THREAD_LIMIT": "1", "OMP_NUM_THREADS": "1", "LC_ALL": "C"}
PROGRAMS = {  # how each tells its version
    "dib": "dib --version", "convert": "convert -version", "gm": "gm -version", "vips": "vips --version",
    "ffmpeg": "ffmpeg -version", "pillow": "/usr/bin/python3 -c 'import PIL; print(\"Pillow\", PIL.__version__)'"}
FF = "ffmpeg -loglevel error -y -threads 1 -filter_threads 1 -i"


def pillow(body):
    return f"/usr/bin/python3 -c 'import glob, os; from PIL import Image, ImageFilter; Image.MAX_IMAGE_PIXELS = None\n{body}'"


# Settings are the same: JPEG quality 85 with halved chroma, PNG level 6, a blur of deviation 3.
JOBS = {
    "thumbnail": ("JPEG of 12 megapixels to a thumbnail of 200 x 150", {
        "dib": "dib run large.jpg fit:200x200 out/a.jpg --quality=85",
        "convert": "convert large.jpg -thumbnail 200x200 -quality 85 out/a.jpg",
        "gm": "gm convert -size 200x200 large.jpg -thumbnail 200x200 -quality 85 out/a.jpg",
        "vips": "vipsthumbnail large.jpg --size 200x200 -o $PWD/out/a.jpg[Q=85]",
        "ffmpeg": f"{FF} large.jpg -vf scale=200:150 -q:v 3 out/a.jpg",
        "pillow": pillow('i = Image.open("large.jpg"); i.thumbnail((200, 200)); i.save("out/a.jpg", quality=85)')}),
    "convert": ("PNG of 2 megapixels to JPEG", {
        "dib": "dib run photo.png out/a.jpg --quality=85",
        "convert": "convert photo.png -quality 85 out/a.jpg",
        "gm": "gm convert photo.png -quality 85 out/a.jpg",
        "vips": "vips jpegsave photo.png out/a.jpg --Q 85",
        "ffmpeg": f"{FF} photo.png -q:v 3 out/a.jpg",
        "pillow": pillow('Image.open("photo.png").convert("RGB").save("out/a.jpg", quality=85)')}),
    "palette": ("PNG to 256 colours of its own, PNG", {
        "dib": "dib run photo.png colors:256 out/a.png",
        "convert": "convert photo.png -dither None -colors 256 PNG8:out/a.png",
        "gm": "gm convert photo.png +dither -colors 256 out/a.png",
        "vips": "vips pngsave photo.png out/a.png --palette --dither 0 --compression 6",
        "ffmpeg": f"{FF} photo.png -vf 'split[a][b];[a]palettegen[p];[b][p]paletteuse=dither=none' out/a.png",
        "pillow": pillow('Image.open("photo.png").quantize(256, dither=0).save("out/a.png")')}),
    "blur": ("JPEG of 2 megapixels, Gaussian blur of deviation 3, JPEG", {
        "dib": "dib run photo.jpg gaussian:9 out/a.jpg --quality=85",
        "convert": "convert photo.jpg -gaussian-blur 9x3 -quality 85 out/a.jpg",
        "gm": "gm convert photo.jpg -blur 9x3 -quality 85 out/a.jpg",
        "vips": "vips gaussblur photo.jpg out/a.jpg[Q=85] 3",
        "ffmpeg": f"{FF} photo.jpg -vf gblur=sigma=3 -q:v 3 out/a.jpg",
        "pillow": pillow('Image.open("photo.jpg").filter(ImageFilter.GaussianBlur(3)).save("out/a.jpg", quality=85)')}),
    "psd": ("PSD of 2 megapixels to PNG", {
        "dib": "dib run photo.psd out/a.png",
        "convert": "convert photo.psd[0] out/a.png",
        "ffmpeg": f"{FF} photo.psd out/a.png",
        "pillow": pillow('Image.open("photo.psd").save("out/a.png")')}),
    "folder": (f"{SMALL} JPEGs of 320 x 240 to half their size", {
        "dib": "dib each --jobs=1 'small/*.jpg' half 'out/{name}.jpg' --quality=85",
        "convert": "mogrify -path out -resize 50% -quality 85 small/*.jpg",
        "gm": "cd small && gm mogrify -output-directory ../out -resize 50% -quality 85 *.jpg",
        "vips": "vipsthumbnail small/*.jpg --size 160x120 -o $PWD/out/%s.jpg[Q=85]",
        "ffmpeg": f"{FF} small/%03d.jpg -vf scale=160:120 -q:v 3 out/%03d.jpg",
        "pillow": pillow('for f in glob.glob("small/*.jpg"): Image.open(f).reduce(2).save("out/" + os.path.basename(f), quality=85)')}),
    "huge": ("JPEG of 20,000 x 20,000 to 2,000 x 2,000, JPEG", {
        "dib": "dib run huge.jpg resize:2000x2000,filter=area out/a.jpg --quality=85",
        "convert": "convert huge.jpg -resize 2000x2000 -quality 85 out/a.jpg",
        "gm": "gm convert huge.jpg -resize 2000x2000 -quality 85 out/a.jpg",
        "vips": "vips resize huge.jpg out/a.jpg[Q=85] 0.1",
        "ffmpeg": f"{FF} huge.jpg -vf scale=2000:2000 -q:v 3 out/a.jpg",
        "pillow": pillow('Image.open("huge.jpg").resize((2000, 2000), Image.BICUBIC).save("out/a.jpg", quality=85)')}),
}


def make_pictures(folder, sample, jobs):
    def made(name, width, height, *chain):
        bmp = folder / "made.bmp"
        subprocess.run([sample, str(width), str(height), bmp], check=True, stdout=subprocess.DEVNULL)
        subprocess.run(["dib", "run", bmp, *chain, folder / name, "--quality=90"], check=True)
        bmp.unlink()

    made("large.jpg", 4000, 3000)
    for name in ("photo.png", "photo.jpg"):
        made(name, 1920, 1080)
    if "psd" in jobs:  # which dib does not write
        subprocess.run(["convert", folder / "photo.png", folder / "photo.psd"], check=True)
    if "folder" in jobs:
        (folder / "small").mkdir()
        made("small/000.jpg", 320, 240)
        for number in range(1, SMALL):
            shutil.copyfile(folder / "small/000.jpg", folder / f"small/{number:03}.jpg")
    if "huge" in jobs:
        made("huge.jpg", 2000, 2000, "resize:20000x20000")


def measure(command, folder):
    """Seconds by the clock, of the processor, and MiB; None when the command fails or leaves nothing."""
    shutil.rmtree(folder / "out", ignore_errors=True)
    (folder / "out").mkdir()
    begin = time.monotonic()
    process = subprocess.Popen(["sh", "-c", command], cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, used = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    seconds = time.monotonic() - begin
    if process.returncode != 0 or not any((folder / "out").iterdir()):
        return None
    return seconds, used.ru_utime + used.ru_stime, used.ru_maxrss / 1024


def versions():
    """Of the programs that are installed, as "name version"."""
    found = {}
    for program, command in PROGRAMS.items():
        run = subprocess.run(["sh", "-c", command], capture_output=True, text=True)
        if run.returncode == 0:
            words = run.stdout.replace("Version: ", "").replace("version ", "").replace("vips-", "libvips ").split()
            found[program] = " ".join(words[:2])
    return found


def cell(times, best):
    if times is None:
        return "fails"
    clock, processor, memory = (statistics.median(column) for column in zip(*times))
    text = f"{clock:.2f} s, {processor:.2f} s, {memory:.0f} MiB"
    return f"**{text}**" if processor == best else text


def table(found, names):
    lines = ["| job | " + " | ".join(names.values()) + " |", "|---" * (len(names) + 1) + "|"]
    for job, programs in found.items():
        best = min(statistics.median(column) for times in programs.values() if times is not None
                   for column in [[one[1] for one in times]])
        lines.append(f"| {JOBS[job][0]} | " + " | ".join(cell(programs[name], best) if name in programs else "–"
                                                        for name in names) + " |")
    return "\n".join(lines) + "\n"


def run(folder, jobs, names, rounds):
    found = {job: {name: [] for name in JOBS[job][1] if name in names} for job in jobs}
    for job in jobs:
        for _ in range(rounds):
            for name, times in found[job].items():
                once = measure(JOBS[job][1][name], folder) if times is not None else None
                found[job][name] = None if once is None else [*times, once]
        print(table({job: found[job]}, names), flush=True)
    return found


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("dib", type=pathlib.Path)
    parser.add_argument("sample", type=pathlib.Path)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--only", default=",".join(JOBS))
    parser.add_argument("--write", action="store_true")
    options = parser.parse_args()
    os.environ.update(ONE_THREAD, PATH=f"{options.dib.resolve().parent}:{os.environ['PATH']}")
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})
    names = versions()
    jobs = options.only.split(",")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        make_pictures(folder, options.sample.resolve(), jobs)
        text = table(run(folder, jobs, names, options.rounds), names)
    if options.write:
        prose, mark, _ = PAGE.read_text(encoding="utf-8").partition(MARK)
        PAGE.write_text(prose + mark + f"\nMedians of {options.rounds} rounds.\n\n" + text, encoding="utf-8")


if __name__ == "__main__":
    sys.exit(main())
