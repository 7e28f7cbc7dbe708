"""A program as `mypy --strict` checks it: types of the package fit what it does."""

import dataclasses
import pathlib
import sys

import numpy

import dibstream


def turned(source: pathlib.Path, target: pathlib.Path) -> list[str]:
    """Turns a picture, and says what saving it loses."""

    def show(fraction: float) -> None:
        print(f"{fraction:.0%}", file=sys.stderr)

    image: dibstream.Image = dibstream.open(source, max_pixels=10**8, formats=["png", "bmp"], progress=show)
    image.metadata = dataclasses.replace(image.metadata, resolution=(300.0, 300.0))
    image = image.rotate(30, wrap="xy").gaussian(4).resize(("50%", 100), filter="area").bpp(8, method="median")
    if image.palette is not None:
        image.palette = [(red, green, 255 - blue) for red, green, blue in image.palette]
    pixels = numpy.asarray(image.bpp(24))
    again = dibstream.from_array(pixels, copy=True).compose(image, 0.5)
    try:
        notes: tuple[dibstream.Note, ...] = again.save(target, quality=95, strict=False)
    except dibstream.RefusedError as error:
        return [error.reason]
    width: int = dibstream.probe(target).width
    return [note.text for note in notes] + [str(width)]


if __name__ == "__main__":
    print(turned(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])))
