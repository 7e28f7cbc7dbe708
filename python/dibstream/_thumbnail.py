"""Small pictures of large files."""

from __future__ import annotations

from typing import Any

from . import _core


def thumbnail(source: _core.Source, size: tuple[int, int], **options: Any) -> _core.Image:
    """Opens a picture so small that it fits a box, with its proportions; one that fits already keeps its size.

    source: a path, the bytes of a file, or a binary file
    size: width and height of the box in pixels, 1 or more
    options: those of open()

    Each pixel is the average of an area. JPEG files are decoded at a fraction of their size, which takes a fraction of
    the time and the memory. Pictures of less than 24 bits become ones of 24, greys of 8.
    """
    if min(size) < 1:
        raise ValueError(f"size must be 1x1 or more, not {size[0]}x{size[1]}")
    image = _core.open(source, at_least=size, **options)
    scale = min(size[0] / image.width, size[1] / image.height)
    if scale >= 1:
        return image
    colors = image.palette
    if image.bits < 24:
        image = image.bpp(24)
    image = image.resize((max(1, round(image.width * scale)), max(1, round(image.height * scale))), filter="area")
    is_grey = colors is not None and all(red == green == blue for red, green, blue in colors)
    return image.bpp(8, method="grey") if is_grey else image
