#!/usr/bin/python3
"""Compares what `dib` shows of sample files with what other programs show, and writes docs/files-compared.md.

usage: samples-table.py SAMPLES [--format F] [--match TEXT] [--dib FILE] [--cache FOLDER] [--jobs N] [--write]

SAMPLES is a folder with INDEX.tsv: a table with the columns format, local (path below the folder) and sha256_16.
A file NAME.ppm beside NAME is its expected picture. Every file is opened by `dib run` (the program of the build
folder build/dev, unless --dib names another) and by each program of PROGRAMS. What those show is kept in the cache
folder, so that only `dib` runs the next time.

The picture that counts is the expected one or, without it, the one that most programs show. Two pictures are the same
when they have one size and no sample differs by more than 1 of 255; colours are compared premultiplied where
both have alpha, as they are where one has none. Samples of HDR and EXR files are brought to bytes by the power 1/2.2.

docs/files-compared.tsv says of files that differ why that is right: a pattern of paths, a tab and the reason.

Without --write the table and the files that differ are printed. Needs Debian's packages netpbm, imagemagick,
graphicsmagick, ffmpeg, python3-numpy, python3-pil, python3-opencv and python3-openimageio.
"""
import argparse
import csv
import dataclasses
import fnmatch
import functools
import hashlib
import inspect
import io
import multiprocessing
import os
import pathlib
import re
import resource
import signal
import subprocess
import sys
import tempfile

import numpy

os.environ["OPENCV_IO_ENABLE_OPENEXR"] = "1"
ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs" / "files-compared.md"
REASONS = PAGE.with_suffix(".tsv")
SECONDS = 20
MEMORY = 4 << 30
LINEAR = ("hdr", "exr")
FORMATS = ("bmp", "tga", "pnm", "tim", "ilbm", "hdr", "psd", "png", "jpeg", "tiff", "exr", "dds")
TOLERANCE = 1


class Refused(Exception):
    """A program does not open a file; the text is its reason."""


# Pictures are arrays of bytes: rows, columns, and 3 or 4 channels.

def bytes_of(samples, largest):
    scaled = numpy.nan_to_num(samples.astype(numpy.float64) * 255 / largest)
    return numpy.clip(numpy.floor(scaled + 0.5), 0, 255).astype(numpy.uint8)


def bytes_of_light(samples):
    light = numpy.nan_to_num(samples.astype(numpy.float64))
    return bytes_of(numpy.clip(light, 0, 1) ** (1 / 2.2), 1)


def with_colors(samples):
    """Grey becomes red, green and blue."""
    if samples.ndim == 2:
        samples = samples[:, :, None]
    return numpy.repeat(samples[:, :, :1], 3, axis=2) if samples.shape[2] == 1 else \
        samples[:, :, [0, 0, 0, 1]] if samples.shape[2] == 2 else samples[:, :, :4]


def turned(picture, orientation):
    """Turns a picture as EXIF asks."""
    if orientation in (5, 6, 7, 8):
        picture = picture.swapaxes(0, 1)
    flips_x = orientation in (2, 3, 6, 7)
    flips_y = orientation in (3, 4, 7, 8)
    return picture[::-1 if flips_y else 1, ::-1 if flips_x else 1]


def read_pnm(data):
    """The samples of the first picture of a binary PBM, PGM, PPM, PAM or PFM file, and their largest value."""
    if data[:2] == b"P7":
        head, _, rest = data.partition(b"ENDHDR\n")
        fields = dict(line.split(None, 1) for line in head.decode("ascii", "replace").splitlines()[1:] if " " in line)
        width, height, depth, largest = (int(fields[key]) for key in ("WIDTH", "HEIGHT", "DEPTH", "MAXVAL"))
    else:
        match = re.match(rb"(P[456Ff])\s(?:#[^\n]*\n|\s)*(\d+)\s+(\d+)\s" + (b"" if data[:2] == b"P4" else rb"\s*(-?[\d.]+)\s"), data)
        if match is None:
            raise Refused("no picture")
        kind, width, height, rest = match[1], int(match[2]), int(match[3]), data[match.end():]
        depth = 3 if kind in (b"P6", b"PF") else 1
        if kind == b"P4":
            bits = numpy.frombuffer(rest, numpy.uint8, (width + 7) // 8 * height).reshape(height, -1)
            return 1 - numpy.unpackbits(bits, axis=1)[:, :width, None], 1
        if kind in (b"PF", b"Pf"):
            order = "<f4" if match[4].startswith(b"-") else ">f4"
            return numpy.frombuffer(rest, order, width * height * depth).reshape(height, width, depth)[::-1], 1
        largest = int(match[4])
    kind = ">u2" if largest > 255 else numpy.uint8
    return numpy.frombuffer(rest, kind, width * height * depth).reshape(height, width, depth), largest


# Programs. Each takes a path and a format, and gives a picture or raises Refused (any error counts as refusal).

def output_of(command, data=None):
    def limit():
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
        resource.setrlimit(resource.RLIMIT_CPU, (SECONDS, SECONDS))
    result = subprocess.run(command, input=data, capture_output=True, timeout=3 * SECONDS, check=False, preexec_fn=limit)
    if result.returncode != 0:
        lines = result.stderr.decode("utf-8", "replace").strip().splitlines() or [f"exit code {result.returncode}"]
        raise Refused(lines[-1])
    return result.stdout


def picture_of(data):
    samples, largest = read_pnm(data)
    if largest < 1:
        raise Refused("a largest value of 0")
    return with_colors(bytes_of(samples, largest))


def kind_of_pnm(path):
    with open(path, "rb") as file:
        return file.read(2)


def open_dib(path, _format, dib):
    with tempfile.TemporaryDirectory() as folder:
        out = pathlib.Path(folder, "out.pam")
        output_of([dib, "run", "--plugins", dib.parent.parent / "lib" / "dibstream" / "plugins", path, out])
        return picture_of(out.read_bytes())


def open_netpbm(path, format):
    plain = {"bmp": ["bmptopnm"], "tga": ["tgatoppm"], "pnm": ["pamdepth", "65535"], "png": ["pngtopam", "-alphapam"],
             "jpeg": ["jpegtopnm"], "tiff": ["tifftopnm"], "ilbm": ["ilbmtoppm"]}
    if format == "pnm" and kind_of_pnm(path) in (b"PF", b"Pf"):
        plain["pnm"] = ["pfmtopam", "-maxval=65535"]
    if format not in plain:
        raise Refused("another format")
    return picture_of(output_of([*plain[format], path]))


def open_magick(command, path, format):
    if format in LINEAR:  # 16 bits keep dark colours apart
        samples, largest = read_pnm(output_of([*command, f"{format}:{path}[0]", "-set", "colorspace", "sRGB", "-depth", "16", "pam:-"]))
        return bytes_of_light(with_colors(samples) / largest)
    prefix = f"{format}:" if format in ("tga", "tim") else ""
    return picture_of(output_of([*command, f"{prefix}{path}[0]", "-auto-orient", "-colorspace", "sRGB", "-depth", "8", "pam:-"]))


def open_imagemagick(path, format):
    if format == "ilbm":
        raise Refused("another program reads the format")
    return open_magick(["/usr/bin/convert"], path, format)


def open_graphicsmagick(path, format):
    if format in ("ilbm", *LINEAR):
        raise Refused("another format")
    command = ["gm", "convert", f"{format}:{path}[0]" if format in ("tga", "tim") else f"{path}[0]"]
    return picture_of(output_of([*command, "-auto-orient", "-colorspace", "RGB", "-depth", "8", "pam:-"]))


def open_ffmpeg(path, format):
    codecs = {"bmp": "bmp", "tga": "targa", "png": "png", "jpeg": "mjpeg", "tiff": "tiff", "psd": "psd", "dds": "dds", "exr": "exr"}
    if format == "pnm":
        codecs["pnm"] = {b"P1": "pbm", b"P4": "pbm", b"P2": "pgm", b"P5": "pgm", b"P3": "ppm", b"P6": "ppm", b"P7": "pam", b"PF": "pfm", b"Pf": "pfm"}.get(kind_of_pnm(path), "ppm")
    if format != "ilbm" and format not in codecs:
        raise Refused("another format")
    source = ["-f", "iff"] if format == "ilbm" else ["-f", "image2", "-pattern_type", "none", "-c:v", codecs[format]]
    target = ["-pix_fmt", "gbrpf32le", "-c:v", "pfm"] if format in LINEAR else ["-pix_fmt", "rgba", "-c:v", "pam"]
    data = output_of(["ffmpeg", "-v", "error", "-xerror", *source, "-i", path, "-frames:v", "1", "-sws_flags",
                      "accurate_rnd+full_chroma_int+full_chroma_inp+bitexact", "-f", "image2pipe", *target, "-"])
    return bytes_of_light(with_colors(read_pnm(data)[0])) if format in LINEAR else picture_of(data)


def load_libraries():
    """Loads once what every child process needs."""
    import cv2
    import OpenImageIO
    import PIL.Image
    import PIL.ImageOps
    PIL.Image.init()
    cv2.setNumThreads(0)
    OpenImageIO.attribute("threads", 1)


def in_child(function, *arguments):
    """Calls a function that makes a picture in a child process of limited time and memory."""
    out = tempfile.TemporaryFile()
    child = os.fork()
    if child == 0:
        try:
            os.dup2(os.open(os.devnull, os.O_WRONLY), 2)
            signal.alarm(3 * SECONDS)
            resource.setrlimit(resource.RLIMIT_CPU, (SECONDS, SECONDS))
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
            numpy.save(out, function(*arguments))
            out.flush()
            os._exit(0)
        except BaseException as error:  # whatever it is, the file was not opened
            out.truncate(0)
            out.seek(0)
            out.write(str(error).encode()[:200] or type(error).__name__.encode())
            out.flush()
        finally:
            os._exit(1)
    status = os.waitpid(child, 0)[1]
    out.seek(0)
    if status != 0:
        raise Refused(out.read(300).decode("utf-8", "replace").strip() or f"status {status}")
    return numpy.load(io.BytesIO(out.read()))


def decode_pillow(path):
    from PIL import Image, ImageOps
    image = ImageOps.exif_transpose(Image.open(path))
    if image.mode.startswith("I"):
        return with_colors(bytes_of(numpy.array(image), 65535))
    if image.mode == "F":
        return with_colors(bytes_of(numpy.array(image), 1))
    has_alpha = image.mode in ("RGBA", "LA", "PA", "RGBa", "La") or "transparency" in image.info
    return numpy.array(image.convert("RGBA" if has_alpha else "RGB"))


def open_pillow(path, format):
    if format == "hdr":
        raise Refused("another format")
    return in_child(decode_pillow, path)


def decode_opencv(path, format):
    import cv2
    image = cv2.imread(path, cv2.IMREAD_COLOR if format == "jpeg" else cv2.IMREAD_UNCHANGED)
    if image is None:
        raise Refused("not read")
    if image.ndim == 3:
        image = image[:, :, [2, 1, 0, 3][:image.shape[2]]]
    if format in LINEAR:
        return bytes_of_light(with_colors(image))
    return with_colors(bytes_of(image, {"u1": 255, "u2": 65535}.get(image.dtype.str[1:], 1)))


def open_opencv(path, format):
    if format in ("tga", "psd", "dds", "ilbm", "tim"):
        raise Refused("another format")
    return in_child(decode_opencv, path, format)


def decode_openimageio(path, format):
    import OpenImageIO
    wanted = OpenImageIO.ImageSpec()
    wanted.attribute("oiio:UnassociatedAlpha", 1)
    file = OpenImageIO.ImageInput.open(path, wanted)
    if file is None:
        raise Refused(OpenImageIO.geterror())
    header = file.spec()
    names = [name.split(".")[-1].upper() for name in header.channelnames]
    samples = file.read_image(0, 0, 0, header.nchannels, "float")
    if samples is None or file.has_error:
        raise Refused(file.geterror())
    chosen = [names.index(name) for name in "RGBA" if name in names] if {"R", "G", "B"} <= set(names) else [0, 1, 2][:1 if header.nchannels < 3 else 3]
    if len(chosen) == 1 and header.alpha_channel > 0:
        chosen.append(header.alpha_channel)
    samples = with_colors(samples.reshape(header.height, header.width, header.nchannels)[:, :, chosen])
    picture = bytes_of_light(samples[:, :, :3]) if format in LINEAR else bytes_of(samples, 1)
    return turned(picture, header.getattribute("Orientation") or 1)


def open_openimageio(path, format):
    if format in ("ilbm", "tim"):
        raise Refused("another format")
    with tempfile.TemporaryDirectory() as folder:  # it goes by the extension
        link = pathlib.Path(folder, "picture." + {"pnm": "pfm" if kind_of_pnm(path) in (b"PF", b"Pf") else "ppm"}.get(format, format))
        link.symlink_to(path)
        return in_child(decode_openimageio, str(link), format)


PROGRAMS = {
    "netpbm": (open_netpbm, "netpbm"), "ImageMagick": (open_imagemagick, "imagemagick"),
    "GraphicsMagick": (open_graphicsmagick, "graphicsmagick"), "ffmpeg": (open_ffmpeg, "ffmpeg"),
    "Pillow": (open_pillow, "python3-pil"), "OpenCV": (open_opencv, "python3-opencv"),
    "OpenImageIO": (open_openimageio, "python3-openimageio"),
}


@functools.cache
def version_of(package):
    text = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True, check=True).stdout
    return re.sub(r"^\d+:|[+~-].*", "", text)


# Comparing

def is_same(one, other):
    if one.shape[:2] != other.shape[:2]:
        return False
    colors, others = one[:, :, :3].astype(numpy.int32), other[:, :, :3].astype(numpy.int32)
    if one.shape[2] == 4 and other.shape[2] == 4:
        alpha, other_alpha = one[:, :, 3:].astype(numpy.int32), other[:, :, 3:].astype(numpy.int32)
        if abs(alpha - other_alpha).max(initial=0) > TOLERANCE:
            return False
        colors, others = colors * alpha // 255, others * alpha // 255
    return abs(colors - others).max(initial=0) <= TOLERANCE


def without_opaque_alpha(picture):
    return picture[:, :, :3] if picture.shape[2] == 4 and (picture[:, :, 3] == 255).all() else picture


@dataclasses.dataclass
class Outcome:
    """What became of one file: of `dib` and each program "right", "wrong", or why it was refused."""
    path: str
    format: str
    dib: str = ""
    others: dict = dataclasses.field(default_factory=dict)
    agreeing: tuple = ()  # programs that show the picture that counts

    @property
    def is_opened(self):
        return any(result in ("right", "wrong") for result in self.others.values())


def shown_by(name, path, format, key, cache):
    """The picture, or the reason of a refusal; from the cache when it is there."""
    function, package = PROGRAMS[name]
    code = hashlib.sha256(inspect.getsource(function).encode()).hexdigest()[:8]
    file = cache / f"{key}-{format}-{name}-{version_of(package)}-{code}.npz"
    if file.exists():
        kept = numpy.load(file)
        return kept["picture"] if "picture" in kept else str(kept["reason"])
    try:
        shown = without_opaque_alpha(function(path, format))
        numpy.savez_compressed(file, picture=shown)
    except Exception as error:  # every failure is a refusal
        shown = str(error).replace(path, "")[:200] or type(error).__name__
        numpy.savez_compressed(file, reason=shown)
    return shown


def examine(row, samples, cache, dib):
    path = str(samples / row["local"])
    outcome = Outcome(row["local"], row["format"])
    shown = {name: shown_by(name, path, row["format"], row["sha256_16"], cache) for name in PROGRAMS}
    pictures = {name: picture for name, picture in shown.items() if not isinstance(picture, str)}
    expected = pathlib.Path(path + ".ppm")
    if expected.exists():
        counted = [picture_of(expected.read_bytes())]
    else:
        groups = {name: [other for other in pictures if is_same(pictures[name], pictures[other])] for name in pictures}
        most = max((len(group) for group in groups.values()), default=0)
        counted = [pictures[name] for name, group in groups.items() if len(group) == most]
        outcome.agreeing = tuple(next((group for group in groups.values() if len(group) == most), ()))

    def judged(picture):
        return "right" if any(is_same(picture, other) for other in counted) else "wrong"
    outcome.others = {name: judged(picture) if not isinstance(picture, str) else picture for name, picture in shown.items()}
    if expected.exists():
        outcome.agreeing = tuple(name for name, result in outcome.others.items() if result == "right")
    try:
        outcome.dib = judged(without_opaque_alpha(open_dib(path, row["format"], dib)))
    except Exception as error:
        outcome.dib = str(error).replace(path, "").removeprefix("dib: ").lstrip(": ")
    return outcome


# Reporting

def table(head, rows):
    return "".join("| " + " | ".join(str(cell) for cell in row) + " |\n" for row in [head, ["---"] * len(head), *rows])


def percent(part, whole):
    return f"{100 * part / whole:.1f} %" if whole else "–"


@functools.cache
def reasons():
    return [line.rstrip("\n").split("\t") for line in open(REASONS, encoding="utf-8") if not line.startswith("#")]


def reason_of(outcome):
    """Why it is right that a file is shown otherwise or refused; nothing when nobody says so."""
    return next((reason for pattern, reason in reasons() if fnmatch.fnmatchcase(outcome.path, pattern)), "")


def overview(outcomes):
    rows = []
    for format in [*FORMATS, None]:
        these = [outcome for outcome in outcomes if format in (outcome.format, None)]
        opened = [outcome for outcome in these if outcome.is_opened]
        if not these:
            continue
        right, wrong = (sum(outcome.dib == result for outcome in opened) for result in ("right", "wrong"))
        explained = sum(outcome.dib != "right" and reason_of(outcome) != "" for outcome in opened)
        rows.append([format or "all", len(these), len(opened), right + wrong, right, wrong, len(opened) - right - wrong,
                     percent(right, len(opened)), percent(right + explained, len(opened))])
    return table(["format", "files", "opened by another program", "of these opened", "right", "otherwise", "refused", "right", "right or explained"], rows)


def sentence(outcomes):
    """The numbers behind the last column of the overview, in plain words."""
    numbers = []
    for format in FORMATS:
        opened = [outcome for outcome in outcomes if outcome.format == format and outcome.is_opened]
        right = sum(outcome.dib == "right" for outcome in opened)
        explained = sum(outcome.dib != "right" and reason_of(outcome) != "" for outcome in opened)
        if opened:
            numbers.append(f"{format} {len(opened)} / {right} / {explained}")
    return "The last column counts explained files beside right ones; opened by another program / right / explained are " + \
        ", ".join(numbers) + "."


def by_program(outcomes):
    rows = []
    for format in FORMATS:
        opened = [outcome for outcome in outcomes if outcome.format == format and outcome.is_opened]
        if not opened:
            continue
        cells = []
        for name in [None, *PROGRAMS]:
            results = [outcome.dib if name is None else outcome.others[name] for outcome in opened]
            right, wrong = results.count("right"), results.count("wrong")
            cells.append(f"{right} / {wrong}" if right + wrong else "–")
        rows.append([format, len(opened), *cells])
    return table(["format", "files", "dib", *PROGRAMS], rows)


def differences(outcomes):
    rows = [[f"`{outcome.path}`", "otherwise" if outcome.dib == "wrong" else outcome.dib, ", ".join(outcome.agreeing) or "nobody",
             ", ".join(name for name, result in outcome.others.items() if result == "wrong") or "–", reason_of(outcome)]
            for outcome in outcomes if outcome.is_opened and outcome.dib != "right"]
    return table(["file", "dib", "shown by", "shown otherwise by", "why"], rows)


def page(outcomes):
    versions = ", ".join(f"{name} {version_of(package)}" for name, (_, package) in PROGRAMS.items())
    return f"""# Files compared with other programs

<!-- written by scripts/samples-table.py -->

{len(outcomes)} sample files of many makers, opened by `dib run` and by {versions}. The picture
that counts is the one that most programs show, or the one that is known of a file made for tests. A picture is right when it
has the size of that one and no sample differs by more than 1 of 255;
[samples-table.py](../scripts/samples-table.py) says how colours and alpha are compared. Files that no other program opens are left out. What is explained has a reason in the last table: most
programs may show a file otherwise than it says.

{overview(outcomes)}
{sentence(outcomes)}

## Each program

Right / wrong pictures of the files that any program but `dib` opens. A program that alone opens a file counts as right.

{by_program(outcomes)}
## Files that `dib` shows otherwise or refuses

{differences(outcomes)}"""


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("samples", type=pathlib.Path)
    parser.add_argument("--format")
    parser.add_argument("--match", default="")
    parser.add_argument("--dib", type=pathlib.Path, default=ROOT / "build" / "dev" / "tools" / "dib")
    parser.add_argument("--cache", type=pathlib.Path, default=ROOT / "build" / "samples-table")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--write", action="store_true")
    arguments = parser.parse_args()
    arguments.cache.mkdir(parents=True, exist_ok=True)
    with open(arguments.samples / "INDEX.tsv", encoding="utf-8") as index:
        rows = [row for row in csv.DictReader(index, delimiter="\t") if row["format"] in FORMATS]
    rows = [row for row in rows if arguments.format in (row["format"], None) and arguments.match in row["local"]]
    rows.sort(key=lambda row: (FORMATS.index(row["format"]), row["local"]))
    with multiprocessing.Pool(arguments.jobs, load_libraries) as pool:
        outcomes = pool.map(functools.partial(examine, samples=arguments.samples.resolve(), cache=arguments.cache, dib=arguments.dib), rows, chunksize=4)
    if arguments.write:
        PAGE.write_text(page(outcomes), encoding="utf-8")
    else:
        sys.stdout.write(overview(outcomes) + "\n" + by_program(outcomes) + "\n" + differences(outcomes))


if __name__ == "__main__":
    main()
