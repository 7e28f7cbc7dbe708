"""A table of what programs write: a format, the pictures that it gets, a command, and the variants of it."""
import dataclasses
import typing

from pictures import as_given

ROWS = []
FIVE_BITS, FOUR_BITS = 12, 28  # what cutting 8 bits to so many loses


@dataclasses.dataclass
class Row:
    program: str
    extension: str
    axes: dict
    command: str = ""
    options: dict = dataclasses.field(default_factory=dict)  # of libraries
    tolerance: int = 0
    shown: typing.Callable = as_given  # what is to be shown of the picture
    is_lossy: bool = False  # compared with what Pillow shows, which has the same decoder
    unless: typing.Optional[typing.Callable] = None  # what the program does not write

    def title(self, case):
        return f"{self.program} {self.extension} {self.command} " + " ".join(f"{name}={value}" for name,
    value in case.items())


def row(extension, sources, command, tolerance=0, shown=as_given, is_lossy=False, unless=None, **axes):
    ROWS.append(Row(command.split()[0], extension, {"source": sources, **axes}, command, {}, tolerance, shown,
    is_lossy, unless))


def library(program, extension, sources, tolerance=0, shown=as_given, is_lossy=False, unless=None, options=None,
    **axes):
    ROWS.append(Row(program, extension, {"source": sources, **axes}, "", options or {}, tolerance, shown, is_lossy,
    unless))


COLORS = ["colors", "few", "sixteen", "grey", "two"]
ALL = [*COLORS, "alpha"]
FFMPEG = "ffmpeg -v error -y -f image2 -i {in} -sws_dither none -sws_flags accurate_rnd+full_chroma_int+bitexact "
IM_TYPES = ["TrueColor", "Palette", "Grayscale", "Bilevel"]


def magick_type_fits(case):
    """Which pictures a type of ImageMagick keeps as they are."""
    return case["source"] in {"Palette": ("few", "sixteen", "two"), "Grayscale": ("grey", "two"),
    "Bilevel": ("two",)}.get(case["type"], ALL)
