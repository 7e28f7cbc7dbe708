"""Pictures: opened and saved in many formats, and changed by operations.

    import dibstream
    dibstream.open("photo.jpg").rotate(30, wrap="xy").gaussian(4).save("turned.png")

Each operation is a method of Image that gives a new picture. numpy.asarray(picture) shows the pixels without a copy, and
from_array(array) makes a picture of an array. Failures are exceptions: all of them are Error.
"""

from __future__ import annotations

import os as _os
from typing import Any as _Any

from . import _core, _table
from ._core import (
    Image,
    check_chain,
    formats,
    from_array,
    montage,
    new,
    open,
    open_palette,
    plugin_folder,
    probe,
    probe_layers,
    set_plugin_folder,
)
from ._core import __version__ as __version__
from ._errors import (
    Cancelled,
    Error,
    ErrorCode,
    FileError,
    FormatError,
    MissingFileError,
    OutOfMemoryError,
    ParameterError,
    RefusedError,
)
from ._records import Difference, FileInfo, Format, Layer, LayerMask, Metadata, Note
from ._table import operations
from ._thumbnail import thumbnail

__all__ = [
    "Cancelled",
    "Difference",
    "Error",
    "ErrorCode",
    "FileError",
    "FileInfo",
    "Format",
    "FormatError",
    "Image",
    "Layer",
    "LayerMask",
    "Metadata",
    "MissingFileError",
    "Note",
    "OutOfMemoryError",
    "ParameterError",
    "RefusedError",
    "check_chain",
    "formats",
    "from_array",
    "montage",
    "new",
    "open",
    "open_palette",
    "operations",
    "plugin_folder",
    "probe",
    "probe_layers",
    "set_plugin_folder",
    "thumbnail",
]

_table.add_methods()

# The plug-ins lie in the package, or where those of the library do. A program that has set the folder keeps it.
if not plugin_folder():
    _own = _os.path.join(_os.path.dirname(__file__), "plugins")
    set_plugin_folder(_own if _os.path.isdir(_own) else _core._plugin_folder)


def _restored(state: tuple[_Any, ...]) -> Image:
    """The picture of a pickle."""
    return _core._restored(state)
