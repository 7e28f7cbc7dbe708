"""What the functions of the package return beside pictures."""

from __future__ import annotations

import dataclasses
from typing import NamedTuple


class Note(NamedTuple):
    """One thing that a caller may want to know of a call that succeeded."""

    kind: str  # "warning": the file is damaged or breaks a rule; "assumption"; "loss": something was not kept
    text: str


@dataclasses.dataclass(frozen=True)
class Metadata:
    """What a file holds beside the pixels. dataclasses.replace() makes changed ones."""

    resolution: tuple[float, float] | None = None  # pixels per inch, across and down
    orientation: int = 1  # how the stored rows must be turned for display, 1 to 8 as in EXIF; 1 is upright
    color_profile: bytes | None = None  # ICC
    exif: bytes | None = None  # from its byte-order mark on
    palette_alpha: bytes | None = None  # of the first entries of the palette (keep_palette)
    tim_frame: bytes | None = None  # of a TIM file: all but its pixels
    texts: bytes | None = None  # pairs of a keyword and a text, UTF-8, each ended by NUL
    xmp: bytes | None = None  # XMP packet

    def with_palette_alpha(self, alpha: bytes | None) -> Metadata:
        """The same with other alpha of palette entries."""
        return dataclasses.replace(self, palette_alpha=alpha)

    def with_axes_exchanged(self) -> Metadata:
        """That of the picture after a turn by a quarter."""
        return self if self.resolution is None else dataclasses.replace(self, resolution=self.resolution[::-1])


@dataclasses.dataclass(frozen=True)
class Difference:
    """What differs between two pictures. A pixel that only one of them has differs by 255 in all channels."""

    pixels: int  # of a picture with the larger width and height of the two
    different_pixels: int  # those among them that differ in a channel; 0: the two are alike
    largest: int  # the largest difference of a channel, 0 to 255
    place: tuple[int, int] | None  # column and row of the first pixel with it
    mean_square: float  # of the differences of all channels
    psnr: float  # 10 log10(255 x 255 / mean_square), in dB; infinite when none differs
    is_same_size: bool


@dataclasses.dataclass(frozen=True)
class FileInfo:
    """What the headers of a file say."""

    format: str
    width: int  # of the picture as open() gives it
    height: int
    bits: int
    stored_bits: int  # per pixel, in the file
    pages: int
    layers: int
    levels: int
    has_alpha: bool  # in the pixels of open(), or in its palette
    compression: str  # empty when unknown
    palette_size: int
    row_order: str
    colors: str  # of a document: "RGB", "CMYK" ...; "grey" of a file of greys
    channels: int  # of the picture in the file: 1 for indices and greys, 3 for colours, 4 with alpha or four inks
    channel_bits: int  # of a document
    page_name: str  # of an EXR file: of the part; empty when there is none
    video_place: tuple[int, int] | None  # of a TIM file: where its pixels belong in video memory, word and row
    palette_place: tuple[int, int] | None  # the same of its lookup tables
    metadata: Metadata
    notes: tuple[Note, ...]


@dataclasses.dataclass(frozen=True)
class LayerMask:
    """A mask of a layer. Sizes and places are in pixels of the document, which it may leave."""

    left: int
    top: int
    width: int
    height: int
    outside: int  # what it is outside its rectangle, 0 (hides) to 255 (shows)
    is_disabled: bool


@dataclasses.dataclass(frozen=True)
class Layer:
    """A layer of a document. Sizes and places are in pixels of the document, which it may leave."""

    index: int  # as open(layer=...) counts
    name: str
    kind: str  # "plain", "group" (the upper end, with the name) or "group-end"
    group: int | None  # the index of the group that it is in
    left: int
    top: int
    width: int  # 0 when it has no pixels
    height: int
    opacity: int  # 0 to 255; open() does not apply it
    is_visible: bool
    is_clipped: bool
    blend_mode: int
    mask: LayerMask | None
    second_mask: LayerMask | None


@dataclasses.dataclass(frozen=True)
class Format:
    """A file format."""

    name: str
    title: str
    extensions: tuple[str, ...]
    mime_types: tuple[str, ...]
    read_depths: tuple[int, ...]  # that open() gives
    write_depths: tuple[int, ...]  # that a file holds as they are; none when it cannot be saved
    has_layers: bool
    has_pages: bool
    has_palette_alpha: bool  # holds Metadata.palette_alpha
    is_available: bool  # False when its plug-in is missing
    library: str | None  # that decodes it, with its version, as its plug-in says
