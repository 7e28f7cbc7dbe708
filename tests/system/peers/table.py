"""The table of comparisons: a chain of operations, the program that makes the same picture, and how far the two may differ."""
import dataclasses
import typing

ROWS = []
NUMBERS = []

# Of commands by their first word.
PROGRAMS = {"convert": "ImageMagick", "montage": "ImageMagick", "compare": "ImageMagick", "gm": "GraphicsMagick"}

EXACT = "Nothing is computed, so every byte is the same."
ROUNDED = "Both round the same sum to the nearest level, one of them from fewer bits."
TABLED = "Both round the same curve of one level, and ties fall to either side."


@dataclasses.dataclass
class Row:
    chain: str  # or a whole command that makes ours.png
    program: str
    tolerance: int  # largest difference of a channel
    why: str
    pictures: str  # that of the chain, and second ones
    command: str = ""  # makes theirs.png, theirs.ppm or theirs.pam
    make: typing.Optional[typing.Callable] = None  # the same in Python, from arrays
    inside: int = 0  # so many pixels at each edge are not compared
    is_error: bool = False  # ours must be at least as near to the picture, pixel by pixel


@dataclasses.dataclass
class Number:
    """A number that two commands print."""
    command: str
    pattern: str  # of which a group is the number
    program: str
    other: str
    other_pattern: str
    tolerance: float
    why: str


def program_of(command):
    word = command.split()[0]
    return PROGRAMS.get(word, "netpbm" if word.startswith(("pam", "pnm", "ppm")) else word)


def by_command(chain, tolerance, why, command, pictures="opaque", **more):
    program = program_of(command)
    if program.endswith("Magick"):
        command = command.replace("theirs.png", "-depth 8 theirs.png")  # Pillow cuts off 16 bits
    ROWS.append(Row(chain, program, tolerance, why, pictures, command, **more))


def by_library(program, chain, tolerance, why, make, pictures="opaque", **more):
    ROWS.append(Row(chain, program, tolerance, why, pictures, make=make, **more))


def number(command, pattern, other, other_pattern, tolerance, why):
    NUMBERS.append(Number(command, pattern, program_of(other), other, other_pattern, tolerance, why))
